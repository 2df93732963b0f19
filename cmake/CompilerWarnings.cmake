# Warnings for the project's own targets. Third-party headers (Qt, gtest,
# hidapi) come in as system includes, so they never trip -Werror.
function(tally_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  if(TALLY_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
