# Fails unless the library exports every entry-point name of the list
# (names separated by blanks and line breaks; "#" starts a comment line),
# under exactly that name.
# Usage: cmake -DNM=nm -DLIBRARY=libchartxml.so -DEXPECTED=cx_exports.txt -P CheckExports.cmake
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY}
  OUTPUT_VARIABLE symbols RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${LIBRARY}")
endif()
string(REGEX MATCHALL "[ \t][TtWw][ \t][^\n]+" defined "${symbols}")
set(exported "")
foreach(line IN LISTS defined)
  string(REGEX REPLACE "^[ \t][TtWw][ \t]+" "" name "${line}")
  list(APPEND exported "${name}")
endforeach()

file(STRINGS ${EXPECTED} lines REGEX "^[^#]")
set(expected "")
foreach(line IN LISTS lines)
  string(REGEX MATCHALL "[^ \t]+" names "${line}")
  list(APPEND expected ${names})
endforeach()
set(missing "")
foreach(name IN LISTS expected)
  list(FIND exported "${name}" at)
  if(at EQUAL -1)
    list(APPEND missing "${name}")
  endif()
endforeach()
list(LENGTH expected count)
if(missing)
  message(FATAL_ERROR "not exported: ${missing}")
endif()
message(STATUS "all ${count} entry points exported")
