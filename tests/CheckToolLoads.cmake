# Drawing a sent chart must not load the library, its host or the XML
# parser's dependencies: they cost more to load than a small chart takes to
# draw. The renderer is linked into the tool, so its shared library must not
# be loaded beside it either, nor (with STATIC_RUNTIME) the C++ runtime.
# Fails when the tool, or anything it loads at start, needs one of them.
#   cmake -DTOOL=<chartxml> [-DSTATIC_RUNTIME=ON] -P CheckToolLoads.cmake
cmake_minimum_required(VERSION 3.20)
execute_process(COMMAND ldd ${TOOL} OUTPUT_VARIABLE loaded RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "ldd ${TOOL} failed (${status})")
endif()
set(names libchartxml libxerces libicu libcurl)
if(STATIC_RUNTIME)
  list(APPEND names libstdc\\+\\+ libgcc_s)
endif()
set(problems "")
foreach(name IN LISTS names)
  if(loaded MATCHES "(^|[\n\t ])(${name}[^ \n]*)")
    string(APPEND problems "  ${CMAKE_MATCH_2}\n")
  endif()
endforeach()
if(NOT loaded MATCHES "libpangocairo")
  string(APPEND problems "  (pango's cairo library is not among them: is this the tool?)\n")
endif()
if(problems)
  message(FATAL_ERROR "${TOOL} loads at start what it does not need to draw:\n${problems}")
endif()
