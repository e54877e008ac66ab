# Fails when a C or C++ source file of ours is in no CMakeLists.txt's list of
# sources (so that it would silently not be built), or when a list names a
# file that is not there. Run as a test:
#   cmake -DSOURCE_DIR=<source tree> -P cmake/CheckSourceLists.cmake
# A list names a file relative to its CMakeLists.txt, or from
# ${PROJECT_SOURCE_DIR} or ${CMAKE_CURRENT_SOURCE_DIR}.
cmake_minimum_required(VERSION 3.20)
if(NOT SOURCE_DIR)
  message(FATAL_ERROR "give -DSOURCE_DIR=<the source tree>")
endif()
set(folders src host render tools tests fuzz bench)

set(lists "${SOURCE_DIR}/CMakeLists.txt")
foreach(folder IN LISTS folders)
  file(GLOB_RECURSE found "${SOURCE_DIR}/${folder}/CMakeLists.txt")
  list(APPEND lists ${found})
endforeach()

set(listed "")
set(problems "")
foreach(cmakelists IN LISTS lists)
  get_filename_component(dir "${cmakelists}" DIRECTORY)
  file(STRINGS "${cmakelists}" lines)
  foreach(line IN LISTS lines)
    # Comments may name files that are not built.
    string(REGEX REPLACE "#.*$" "" line "${line}")
    string(REGEX REPLACE "[ \t()\"]+" ";" words "${line}")
    foreach(word IN LISTS words)
      if(NOT word MATCHES "\\.(cc|c)$" OR word MATCHES "[<>*]")
        continue()
      endif()
      string(REPLACE "\${PROJECT_SOURCE_DIR}" "${SOURCE_DIR}" word "${word}")
      string(REPLACE "\${CMAKE_SOURCE_DIR}" "${SOURCE_DIR}" word "${word}")
      string(REPLACE "\${CMAKE_CURRENT_SOURCE_DIR}" "${dir}" word "${word}")
      if(word MATCHES "\\$")
        continue()  # a path made from a variable we cannot resolve here
      endif()
      get_filename_component(path "${word}" ABSOLUTE BASE_DIR "${dir}")
      if(NOT EXISTS "${path}")
        file(RELATIVE_PATH shown "${SOURCE_DIR}" "${cmakelists}")
        list(APPEND problems "${shown} lists ${word}, which does not exist")
      endif()
      list(APPEND listed "${path}")
    endforeach()
  endforeach()
endforeach()

foreach(folder IN LISTS folders)
  file(GLOB_RECURSE sources "${SOURCE_DIR}/${folder}/*.cc" "${SOURCE_DIR}/${folder}/*.c")
  foreach(source IN LISTS sources)
    if(NOT source IN_LIST listed)
      file(RELATIVE_PATH shown "${SOURCE_DIR}" "${source}")
      list(APPEND problems "${shown} is in no list of sources: add it to a CMakeLists.txt")
    endif()
  endforeach()
endforeach()

if(problems)
  list(JOIN problems "\n  " text)
  message(FATAL_ERROR "Source lists:\n  ${text}")
endif()
