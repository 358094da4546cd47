# Every target of our own is built with these; what other projects wrote is not.
function(tavlo_warnings target)
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror>)
endfunction()
