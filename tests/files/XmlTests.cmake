tavrel_test(tavrel_xml_tests files
  XMLFileTest.cpp
)
target_link_libraries(tavrel_xml_tests PRIVATE tavrel::files)
