# Drawing a sent chart must not load the library, its host or the XML
# parser's dependencies: they cost more to load than a small chart takes to
# draw. Fails when the tool, or anything it loads at start, needs one of them.
#   cmake -DTOOL=<chartxml> -P CheckToolLoads.cmake
cmake_minimum_required(VERSION 3.20)
execute_process(COMMAND ldd ${TOOL} OUTPUT_VARIABLE loaded RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "ldd ${TOOL} failed (${status})")
endif()
set(problems "")
foreach(name libchartxml\\.so libchartxml_host libxerces libicu libcurl)
  if(loaded MATCHES "(^|[\n\t ])(${name}[^ \n]*)")
    string(APPEND problems "  ${CMAKE_MATCH_2}\n")
  endif()
endforeach()
if(NOT loaded MATCHES "libchartxml_render")
  string(APPEND problems "  (the renderer is not among them)\n")
endif()
if(problems)
  message(FATAL_ERROR "${TOOL} loads at start what only its commands module needs:\n${problems}")
endif()
