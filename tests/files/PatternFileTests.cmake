tavrel_test(tavrel_patternfile_tests files
  AtomicFileWriterTest.cpp
  FileDataMgrTest.cpp
)
target_link_libraries(tavrel_patternfile_tests PRIVATE tavrel::files)
