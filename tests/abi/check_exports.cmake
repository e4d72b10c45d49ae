# Compares the dynamic symbols that LIBRARY defines with the names listed in
# EXPORTS_DIR/*.txt (one name per line, '#' comments allowed).
find_program(NM_TOOL NAMES nm llvm-nm REQUIRED)
execute_process(COMMAND ${NM_TOOL} -D --defined-only --format=posix ${LIBRARY}
                OUTPUT_VARIABLE nm_output RESULT_VARIABLE nm_result)
if(NOT nm_result EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
# Code and data the library defines, not absolute symbols (version nodes).
string(REGEX MATCHALL "[^\n ]+ [B-Za-z] " entries "${nm_output}")
list(TRANSFORM entries REPLACE "[@ ].*$" "" OUTPUT_VARIABLE actual)
list(REMOVE_DUPLICATES actual)

set(expected "")
file(GLOB export_files ${EXPORTS_DIR}/*.txt)
foreach(file IN LISTS export_files)
  file(STRINGS ${file} lines REGEX "^[^# ]")
  list(APPEND expected ${lines})
endforeach()

set(missing ${expected})
list(REMOVE_ITEM missing ${actual})
set(extra ${actual})
list(REMOVE_ITEM extra ${expected})
list(LENGTH expected expected_count)
if(missing OR extra)
  list(JOIN missing "\n  " missing_text)
  list(JOIN extra "\n  " extra_text)
  message(FATAL_ERROR "Exported symbols differ from the checked-in list.\n"
          "Missing from the library:\n  ${missing_text}\n"
          "Exported but not listed:\n  ${extra_text}")
endif()
message(STATUS "All ${expected_count} listed exports present, no others")
