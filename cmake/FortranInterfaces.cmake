# Writes the Fortran interfaces of the C entry points: one interface body
# for every CX_ declaration of chartxml/cx.h, made from the header so that
# the two agree, then the host's and the renderer's C functions a Fortran
# procedure needs to open its data and look at what it sent. A program
# `use, intrinsic :: iso_c_binding` and includes the file in its
# specification part. An include file, not a module: compiled modules differ
# from one Fortran compiler (and version) to the next, source does not.
# chartxml_fortran_interfaces(HEADER OUTPUT)

# The Fortran declaration of a C argument TYPE NAME of an entry point, by the
# rules at the head of cx.h. An unknown C type stops the build: an entry point
# no caller could bind must not slip through.
function(chartxml_fortran_dummy out type name)
  set(array "")
  if(name MATCHES "^(variables|numbers)$")  # counted lists, not single values
    set(array ", dimension(*)")
  endif()
  if(type STREQUAL "const int64_t*")
    set(line "integer(c_int64_t)${array}, intent(in) :: ${name}")
  elseif(type STREQUAL "int64_t*")
    # "inout": an output not reached keeps what the caller put there.
    set(line "integer(c_int64_t), intent(inout) :: ${name}")
  elseif(type STREQUAL "const double*")
    set(line "real(c_double)${array}, intent(in) :: ${name}")
  elseif(type STREQUAL "const char*")
    set(line "character(kind=c_char), dimension(*), intent(in) :: ${name}")
  elseif(type STREQUAL "void*" OR type STREQUAL "const void*")
    set(line "type(c_ptr), value :: ${name}")
  elseif(type STREQUAL "VORN_FortranDictionary**")
    set(line "type(c_ptr), intent(inout) :: ${name}")
  else()
    message(FATAL_ERROR "no Fortran form for the C argument '${type} ${name}'")
  endif()
  set(${out} "${line}" PARENT_SCOPE)
endfunction()

function(chartxml_fortran_interfaces header output)
  file(READ ${header} source)
  # Comments may hold anything, parentheses too: away with them first.
  string(REGEX REPLACE "/\\*([^*]|\\*+[^*/])*\\*+/" "" source "${source}")
  string(REGEX MATCHALL "int64_t[ \t\r\n]+CX_[A-Z0-9_]+\\([^)]*\\)" declarations "${source}")
  if(NOT declarations)
    message(FATAL_ERROR "${header}: no CX_ entry points")
  endif()
  set(text "! Made from chartxml/cx.h when chartxml is built: do not edit.\n")
  string(APPEND text "! Every argument goes by address, as cx.h tells; \"ignored\" arguments\n")
  string(APPEND text "! take c_null_ptr, the all-ones data area transfer(-1_c_intptr_t, c_null_ptr).\n")
  string(APPEND text "interface\n")
  foreach(declaration IN LISTS declarations)
    string(REGEX REPLACE "^int64_t[ \t\r\n]+(CX_[A-Z0-9_]+)\\(.*$" "\\1" name "${declaration}")
    string(REGEX REPLACE "^[^(]*\\(([^)]*)\\)$" "\\1" arguments "${declaration}")
    string(REGEX REPLACE "[ \t\r\n]+" " " arguments "${arguments}")
    string(STRIP "${arguments}" arguments)
    set(names "")
    set(dummies "")
    if(NOT arguments STREQUAL "void")
      string(REPLACE "," ";" arguments "${arguments}")
      foreach(argument IN LISTS arguments)
        string(STRIP "${argument}" argument)
        if(NOT argument MATCHES "^(.*[ *])([A-Za-z][A-Za-z0-9_]*)$")
          message(FATAL_ERROR "${header}: cannot read the argument '${argument}' of ${name}")
        endif()
        string(STRIP "${CMAKE_MATCH_1}" type)
        set(dummy "${CMAKE_MATCH_2}")
        chartxml_fortran_dummy(line "${type}" "${dummy}")
        list(APPEND names "${dummy}")
        string(APPEND dummies "    ${line}\n")
      endforeach()
    endif()
    # The dummy names, wrapped well inside free form's 132 columns.
    set(head "  function ${name}(")
    set(current "${head}")
    set(first TRUE)
    foreach(dummy IN LISTS names)
      string(LENGTH "${current}, ${dummy}" length)
      if(first)
        string(APPEND current "${dummy}")
        set(first FALSE)
      elseif(length GREATER 90)
        string(APPEND text "${current}, &\n")
        set(current "      ${dummy}")
      else()
        string(APPEND current ", ${dummy}")
      endif()
    endforeach()
    string(APPEND text "${current}) &\n      bind(C, name=\"${name}\") result(cx_result)\n")
    string(APPEND text "    import :: c_char, c_double, c_int64_t, c_ptr\n")
    string(APPEND text "${dummies}")
    string(APPEND text "    integer(c_int64_t) :: cx_result\n  end function\n")
  endforeach()
  string(APPEND text [=[
  ! The reference host (chartxml_host.h): texts go NUL-terminated
  ! ("name" // c_null_char); texts come back as C pointers, valid until the
  ! host's next call that changes that list.
  function cxh_open_csv(path) bind(C, name="cxh_open_csv") result(source)
    import :: c_char, c_ptr
    character(kind=c_char), dimension(*), intent(in) :: path
    type(c_ptr) :: source
  end function
  subroutine cxh_close(source) bind(C, name="cxh_close")
    import :: c_ptr
    type(c_ptr), value :: source
  end subroutine
  subroutine cxh_set_output_dir(dir) bind(C, name="cxh_set_output_dir")
    import :: c_char
    character(kind=c_char), dimension(*), intent(in) :: dir
  end subroutine
  subroutine cxh_set_language(code) bind(C, name="cxh_set_language")
    import :: c_char
    character(kind=c_char), dimension(*), intent(in) :: code
  end subroutine
  subroutine cxh_set_string_tables(dir) bind(C, name="cxh_set_string_tables")
    import :: c_char
    character(kind=c_char), dimension(*), intent(in) :: dir
  end subroutine
  subroutine cxh_set_quiet(on) bind(C, name="cxh_set_quiet")
    import :: c_int
    integer(c_int), value :: on
  end subroutine
  subroutine cxh_set_validate(on) bind(C, name="cxh_set_validate")
    import :: c_int
    integer(c_int), value :: on
  end subroutine
  function cxh_report_count() bind(C, name="cxh_report_count") result(count)
    import :: c_int
    integer(c_int) :: count
  end function
  function cxh_report_message(i) bind(C, name="cxh_report_message") result(text)
    import :: c_int, c_ptr
    integer(c_int), value :: i
    type(c_ptr) :: text
  end function
  function cxh_report_source(i) bind(C, name="cxh_report_source") result(text)
    import :: c_int, c_ptr
    integer(c_int), value :: i
    type(c_ptr) :: text
  end function
  function cxh_report_line(i) bind(C, name="cxh_report_line") result(line)
    import :: c_int
    integer(c_int), value :: i
    integer(c_int) :: line
  end function
  subroutine cxh_clear_reports() bind(C, name="cxh_clear_reports")
  end subroutine
  function cxh_sent_count() bind(C, name="cxh_sent_count") result(count)
    import :: c_int
    integer(c_int) :: count
  end function
  function cxh_sent_xml(i) bind(C, name="cxh_sent_xml") result(text)
    import :: c_int, c_ptr
    integer(c_int), value :: i
    type(c_ptr) :: text
  end function
  function cxh_sent_data_path(i, source) bind(C, name="cxh_sent_data_path") result(path)
    import :: c_char, c_int, c_ptr
    integer(c_int), value :: i
    character(kind=c_char), dimension(*), intent(in) :: source
    type(c_ptr) :: path
  end function
  subroutine cxh_clear_sent() bind(C, name="cxh_clear_sent")
  end subroutine
  ! The renderer (render.h; link chartxml_render): 0 on success, -1 with
  ! cxr_error's message. OPTIONS is c_null_ptr for the defaults.
  function cxr_render_sent(i, path, options) bind(C, name="cxr_render_sent") result(status)
    import :: c_char, c_int, c_ptr
    integer(c_int), value :: i
    character(kind=c_char), dimension(*), intent(in) :: path
    type(c_ptr), value :: options
    integer(c_int) :: status
  end function
  function cxr_error() bind(C, name="cxr_error") result(text)
    import :: c_ptr
    type(c_ptr) :: text
  end function
  ! C's strlen, to turn the C pointers above into Fortran strings.
  function cx_strlen(text) bind(C, name="strlen") result(length)
    import :: c_ptr, c_size_t
    type(c_ptr), value :: text
    integer(c_size_t) :: length
  end function
end interface
]=])
  file(CONFIGURE OUTPUT ${output} CONTENT "${text}" @ONLY)
endfunction()
