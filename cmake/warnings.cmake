# The warnings every target of this tree is built with; never passed on to users of the targets.
function(onu_mng_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                                           $<$<BOOL:${ONU_MNG_WERROR}>:-Werror>)
endfunction()
