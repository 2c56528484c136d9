# Warnings for our own targets only; third-party headers come in as system includes.
function(tavrel_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                           -Wno-sign-conversion)
  # g++ 12 at -O3 reports impossible overlaps inside std::string's own concatenation
  # (GCC bug 105329); the warning says nothing about our code there.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  # With sanitizers g++ 12 also sees "maybe uninitialized" members inside std::regex's own
  # std::function; plain builds keep the warning.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13
     AND CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
  endif()
  if(TAVREL_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
