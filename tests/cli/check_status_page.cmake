# Fails when docs/status-codes.md differs from what `tarn codes --markdown`
# writes now.
execute_process(COMMAND ${TOOL} codes --markdown OUTPUT_VARIABLE generated RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "tarn codes --markdown failed (${result})")
endif()
file(READ ${PAGE} checked_in)
if(NOT generated STREQUAL checked_in)
  message(FATAL_ERROR "${PAGE} is out of date; regenerate it with\n  ${TOOL} codes --markdown > ${PAGE}")
endif()
