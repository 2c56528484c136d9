# Warnings for our own targets only; third-party headers come in as system includes.
function(tavrel_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                           -Wno-sign-conversion)
  if(TAVREL_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
