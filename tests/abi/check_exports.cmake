# Compares the dynamic symbols that LIBRARY defines with the names listed in
# EXPORTS_DIR/*.txt (one name per line, '#' comments allowed). Any missing or
# extra symbol fails.
find_program(NM_TOOL NAMES nm llvm-nm REQUIRED)
execute_process(
  COMMAND ${NM_TOOL} -D --defined-only --format=posix ${LIBRARY}
  OUTPUT_VARIABLE nm_output
  RESULT_VARIABLE nm_result)
if(NOT nm_result EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()

set(actual "")
string(REPLACE "\n" ";" nm_lines "${nm_output}")
foreach(line IN LISTS nm_lines)
  if(line MATCHES "^([^ ]+) ([A-Za-z]) ")
    set(name "${CMAKE_MATCH_1}")
    set(kind "${CMAKE_MATCH_2}")
    # Code and data the library defines; skip absolute symbols (version nodes).
    if(NOT kind STREQUAL "A")
      string(REGEX REPLACE "@.*$" "" name "${name}")
      list(APPEND actual "${name}")
    endif()
  endif()
endforeach()
list(REMOVE_DUPLICATES actual)

set(expected "")
file(GLOB export_files ${EXPORTS_DIR}/*.txt)
foreach(file IN LISTS export_files)
  file(STRINGS ${file} lines)
  foreach(line IN LISTS lines)
    string(STRIP "${line}" line)
    if(line STREQUAL "" OR line MATCHES "^#")
      continue()
    endif()
    list(APPEND expected "${line}")
  endforeach()
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
