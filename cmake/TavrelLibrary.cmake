# tavrel_library(<name> <folder> [INTERFACE] [SOURCES <file>...] [HEADERS <file>...]
#                [PRIVATE_HEADERS <file>...])
#
# Makes the library tavrel_<name> (alias tavrel::<name>) of the SOURCES, which lie in the
# calling folder, and gives it a public include root of its own in the build tree: a folder
# holding the headers of src/<folder> under the name <folder>, so that they keep their
# spelling ("device/MidiLib.h") and whoever links the library can include them, and only
# them. A file can therefore include exactly what its target links; a lower layer that
# includes a higher layer's header does not build.
#
# By default the root holds one symbolic link to the whole folder. HEADERS publishes only the
# headers named (paths inside the folder); PRIVATE_HEADERS publishes every header of the folder
# but those, which the library's own sources still see through a private root.
function(tavrel_library name folder)
  cmake_parse_arguments(PARSE_ARGV 2 arg "INTERFACE" "" "SOURCES;HEADERS;PRIVATE_HEADERS")
  set(source_folder ${PROJECT_SOURCE_DIR}/src/${folder})
  set(public_root ${PROJECT_BINARY_DIR}/include/${name})
  file(REMOVE_RECURSE ${public_root})
  if(arg_HEADERS OR arg_PRIVATE_HEADERS)
    set(headers ${arg_HEADERS})
    if(arg_PRIVATE_HEADERS)
      file(GLOB_RECURSE headers RELATIVE ${source_folder} CONFIGURE_DEPENDS ${source_folder}/*.h)
      list(REMOVE_ITEM headers ${arg_PRIVATE_HEADERS})
    endif()
    foreach(header IN LISTS headers)
      set(link ${public_root}/${folder}/${header})
      get_filename_component(link_folder ${link} DIRECTORY)
      file(MAKE_DIRECTORY ${link_folder})
      file(CREATE_LINK ${source_folder}/${header} ${link} SYMBOLIC)
    endforeach()
  else()
    file(MAKE_DIRECTORY ${public_root})
    file(CREATE_LINK ${source_folder} ${public_root}/${folder} SYMBOLIC)
  endif()

  if(arg_INTERFACE)
    add_library(tavrel_${name} INTERFACE)
    target_include_directories(tavrel_${name} INTERFACE ${public_root})
  else()
    add_library(tavrel_${name} STATIC ${arg_SOURCES})
    target_include_directories(tavrel_${name} PUBLIC ${public_root})
    tavrel_warnings(tavrel_${name})
  endif()
  if(arg_PRIVATE_HEADERS)
    set(private_root ${PROJECT_BINARY_DIR}/include-private/${name})
    file(REMOVE_RECURSE ${private_root})
    file(MAKE_DIRECTORY ${private_root})
    file(CREATE_LINK ${source_folder} ${private_root}/${folder} SYMBOLIC)
    target_include_directories(tavrel_${name} PRIVATE ${private_root})
  endif()
  add_library(tavrel::${name} ALIAS tavrel_${name})
endfunction()
