# Writes the Fortran form of chartxml/codes.h: each enumerator of its
# X-macro lists as an integer(c_int64_t) parameter, for programs that
# `use iso_c_binding` and include the file.
# chartxml_fortran_codes(HEADER OUTPUT)
function(chartxml_fortran_codes header output)
  file(READ ${header} source)
  set(text "! Made from chartxml/codes.h when chartxml is built: do not edit.\n")
  foreach(list WORD ROLE SUMMARY FORMAT CHART)
    # A list runs from its #define to the next directive.
    string(REGEX MATCH "#define CX_${list}_LIST\\(ENTRY\\)[^#]*" body "${source}")
    string(REGEX MATCHALL "ENTRY\\([A-Z0-9_]+, -?[0-9]+\\)" items "${body}")
    if(NOT items)
      message(FATAL_ERROR "${header}: no CX_${list}_LIST")
    endif()
    foreach(item IN LISTS items)
      string(REGEX REPLACE "ENTRY\\(([A-Z0-9_]+), (-?[0-9]+)\\)"
             "integer(c_int64_t), parameter :: CX_${list}_\\1 = \\2\n" line "${item}")
      string(APPEND text "${line}")
    endforeach()
  endforeach()
  file(CONFIGURE OUTPUT ${output} CONTENT "${text}" @ONLY)
endfunction()
