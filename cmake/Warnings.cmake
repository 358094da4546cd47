# Every target of our own is built with these; what other projects wrote is not.
function(tavlo_warnings target)
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror>)
  # Sources that are compiled together are included, and GCC takes what is included for a header.
  if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-Wno-subobject-linkage>)
  endif()
endfunction()
