# cifra_warnings(TARGET): the warnings that the project's own code must be free of.
#
# They are errors unless CIFRA_WARNINGS_AS_ERRORS is OFF, for someone who builds with a newer
# compiler that knows more of them.

option(CIFRA_WARNINGS_AS_ERRORS "Treat warnings in the project's own code as errors" ON)

function(cifra_warnings target)
  if(MSVC) # clang-cl takes the same options
    target_compile_options(${target} PRIVATE
      /W4 /permissive- /utf-8 /Zc:__cplusplus
      /w14242 /w14254 /w14263 /w14265 /w14287 /w14296 /w14311 /w14545 /w14546 /w14547 /w14549 /w14555
      /w14640 /w14826 /w14905 /w14906 /w14928
      $<$<BOOL:${CIFRA_WARNINGS_AS_ERRORS}>:/WX>)
    return()
  endif()

  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wcast-align -Wcast-qual -Wconversion -Wdouble-promotion -Wformat=2
    -Wimplicit-fallthrough -Wshadow -Wsign-conversion -Wundef -Wvla
    $<$<COMPILE_LANGUAGE:C>:-Wmissing-prototypes -Wstrict-prototypes>
    $<$<COMPILE_LANGUAGE:CXX>:-Wextra-semi -Wold-style-cast -Woverloaded-virtual
      -Wzero-as-null-pointer-constant>
    $<$<BOOL:${CIFRA_WARNINGS_AS_ERRORS}>:-Werror>)
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${target} PRIVATE
      -Wcomma -Wnull-dereference -Wimplicit-int-conversion -Wloop-analysis -Wnewline-eof
      -Wshadow-all -Wunreachable-code-aggressive
      $<$<COMPILE_LANGUAGE:CXX>:-Winconsistent-missing-destructor-override -Wsuggest-override>)
  elseif(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 sees copies within a standard string overlap (its bug 105651).
    target_compile_options(${target} PRIVATE
      -Wduplicated-branches -Wduplicated-cond -Wlogical-op -Wno-restrict
      $<$<COMPILE_LANGUAGE:CXX>:-Wsuggest-override>)
  endif()
endfunction()
