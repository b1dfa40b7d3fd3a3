# cmake -DDOXYGEN=<program> -DDOXYFILE=<file> -P RunDoxygen.cmake: says what Doxygen warns of, and fails if that is an
# operation without words. Fields, constants and types that explain themselves are let pass.
execute_process(COMMAND ${DOXYGEN} ${DOXYFILE} RESULT_VARIABLE result ERROR_VARIABLE warnings)
string(REPLACE ";" "," warnings "${warnings}")
string(REGEX MATCHALL "[^\n]+" warnings "${warnings}")
list(FILTER warnings EXCLUDE REGEX
    "\\((variable|typedef|enumeration|enumvalue|macro definition)\\) of .* is not documented|(Compound|\\(function\\) of class) .* is not documented")
foreach(warning IN LISTS warnings)
    message("${warning}")
endforeach()
if(result OR warnings MATCHES "\\(function\\) of file")
    message(FATAL_ERROR "docs: an operation is not documented, or Doxygen failed")
endif()
