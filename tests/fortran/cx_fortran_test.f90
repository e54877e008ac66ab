! A procedure written in Fortran: a chart with a dimension axis and a fitted
! line, through the CX_ entry points bound by their exported names.
program cx_fortran_test
  use, intrinsic :: iso_c_binding
  implicit none
  include "chartxml/cx_codes.fi"

  interface
    function cxh_open_csv(path) bind(C, name="cxh_open_csv") result(source)
      import :: c_char, c_ptr
      character(kind=c_char), dimension(*), intent(in) :: path
      type(c_ptr) :: source
    end function
    subroutine cxh_close(source) bind(C, name="cxh_close")
      import :: c_ptr
      type(c_ptr), value :: source
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
    function c_strlen(text) bind(C, name="strlen") result(length)
      import :: c_ptr, c_size_t
      type(c_ptr), value :: text
      integer(c_size_t) :: length
    end function
    function cx_init(data, dictionary, name, length) bind(C, name="CX_INIT") result(status)
      import :: c_char, c_int64_t, c_ptr
      type(c_ptr), value :: data
      type(c_ptr), intent(inout) :: dictionary
      character(kind=c_char), dimension(*), intent(in) :: name
      integer(c_int64_t), intent(in) :: length
      integer(c_int64_t) :: status
    end function
    function cx_createchartex(data, dictionary, name, length, chart, source, graph, frame) &
        bind(C, name="CX_CREATECHARTEX") result(status)
      import :: c_char, c_int64_t, c_ptr
      type(c_ptr), value :: data
      type(c_ptr), intent(inout) :: dictionary
      character(kind=c_char), dimension(*), intent(in) :: name
      integer(c_int64_t), intent(in) :: length
      integer(c_int64_t), intent(out) :: chart, source, graph, frame
      integer(c_int64_t) :: status
    end function
    function cx_addvariable(chart, source, variable, categorical) &
        bind(C, name="CX_ADDVARIABLE") result(handle)
      import :: c_int64_t
      integer(c_int64_t), intent(in) :: chart, source, variable, categorical
      integer(c_int64_t) :: handle
    end function
    function cx_adddimensionaxis(chart, parent, number, detail, opposite, style, axis, &
        upperMargin, lowerMargin, upperMapping, lowerMapping) &
        bind(C, name="CX_ADDDIMENSIONAXIS") result(dimension)
      import :: c_int64_t
      integer(c_int64_t), intent(in) :: chart, parent, number, detail, opposite
      integer(c_int64_t), intent(out) :: style, axis
      integer(c_int64_t), intent(in) :: upperMargin, lowerMargin, upperMapping, lowerMapping
      integer(c_int64_t) :: dimension
    end function
    function cx_addxyelementex(chart, parent, variant, type, x, y, kind, element) &
        bind(C, name="CX_ADDXYELEMENTEX") result(handle)
      import :: c_int64_t
      integer(c_int64_t), intent(in) :: chart, parent, variant, type, x, y, kind
      integer(c_int64_t), intent(out) :: element
      integer(c_int64_t) :: handle
    end function
    function cx_addyofxlinear(chart, frame, number, a, b, dateAxis) &
        bind(C, name="CX_ADDYOFXLINEAR") result(handle)
      import :: c_double, c_int64_t
      integer(c_int64_t), intent(in) :: chart, frame, number
      real(c_double), intent(in) :: a, b
      integer(c_int64_t), intent(in) :: dateAxis
      integer(c_int64_t) :: handle
    end function
    function cx_addrow(chart, source) bind(C, name="CX_ADDROW") result(rows)
      import :: c_int64_t
      integer(c_int64_t), intent(in) :: chart, source
      integer(c_int64_t) :: rows
    end function
    function cx_adddoubledatavalue(chart, source, variable, value) &
        bind(C, name="CX_ADDDOUBLEDATAVALUE") result(status)
      import :: c_double, c_int64_t
      integer(c_int64_t), intent(in) :: chart, source, variable
      real(c_double), intent(in) :: value
      integer(c_int64_t) :: status
    end function
    function cx_endchart(chart) bind(C, name="CX_ENDCHART") result(status)
      import :: c_int64_t
      integer(c_int64_t), intent(in) :: chart
      integer(c_int64_t) :: status
    end function
    function cx_terminate() bind(C, name="CX_TERMINATE") result(status)
      import :: c_int64_t
      integer(c_int64_t) :: status
    end function
  end interface

  character(len=*), parameter :: csvPath = "cx_fortran_test.csv"
  character(len=4, kind=c_char), parameter :: procName = "FTST"
  integer(c_int64_t), parameter :: nameLength = 4, none = -1, no = 0, one = 1
  integer :: passed = 0, failed = 0, unit, row
  type(c_ptr) :: allOnes, dictionary
  integer(c_int64_t) :: chart, source, graph, frame, x, y, xDim, yDim, element, status
  integer(c_int64_t) :: xStyle, xAxis, yStyle, yAxis
  real(c_double) :: xs(4) = [1.0_c_double, 2.0_c_double, 3.0_c_double, 4.0_c_double]
  character(len=:), allocatable :: xml

  open(newunit=unit, file=csvPath, status="replace", action="write")
  write(unit, "(a)") "x,y", "1,3", "2,5", "3,7", "4,9"
  close(unit)
  dictionary = cxh_open_csv(csvPath // c_null_char)
  call check(c_associated(dictionary), "the CSV source opens")
  allOnes = transfer(-1_c_intptr_t, allOnes)

  call check(cx_init(allOnes, dictionary, procName, nameLength) == 0, "CX_INIT")
  status = cx_createchartex(allOnes, dictionary, procName, nameLength, chart, source, graph, frame)
  call check(status == 0 .and. chart == 0, "CX_CREATECHARTEX")
  x = cx_addvariable(chart, source, 0_c_int64_t, no)
  y = cx_addvariable(chart, source, 1_c_int64_t, no)
  call check(x > 0 .and. y > x, "two variables")

  ! Dimension number 4, past z, names no dimension and makes nothing.
  call check(cx_adddimensionaxis(chart, frame, CX_ROLE_Z + 1, none, no, xStyle, xAxis, none, &
                                 none, none, none) == -1, "no dimension 4")
  xDim = cx_adddimensionaxis(chart, frame, CX_ROLE_X, none, no, xStyle, xAxis, none, none, none, &
                             none)
  yDim = cx_adddimensionaxis(chart, frame, CX_ROLE_Y, none, no, yStyle, yAxis, none, none, none, &
                             none)
  call check(xDim > 0 .and. yDim > xDim .and. xAxis > xDim .and. yAxis > yDim, "dimension axes")
  call check(cx_addxyelementex(chart, frame, one, CX_WORD_POINT, x, y, CX_WORD_ELEMENT, element) == element &
             .and. element > 0, "a point element")
  call check(cx_addyofxlinear(chart, frame, one, 1.0_c_double, 2.0_c_double, no) > 0, &
             "a fitted line")

  do row = 1, 4
    call check(cx_addrow(chart, source) == row, "a row")
    status = cx_adddoubledatavalue(chart, source, x, xs(row))
    status = cx_adddoubledatavalue(chart, source, y, 2 * xs(row) + 1)
  end do
  call check(cx_endchart(chart) == 0, "CX_ENDCHART")
  call check(cxh_sent_count() == 1, "one chart sent")
  xml = sent_xml(0)
  call check(index(xml, 'id="axis_axisx_1"') > 0 .and. index(xml, 'id="axis_axisy_1"') > 0, &
             "the axes sent")
  call check(index(xml, "Linear fit line") > 0, "the fitted line sent")
  deallocate(xml)  ! a main program's variables live on: leak checkers would count it
  call check(cx_terminate() == 0, "CX_TERMINATE")
  call cxh_close(dictionary)
  open(newunit=unit, file=csvPath)
  close(unit, status="delete")

  print "(i0, a, i0, a)", passed, " passed, ", failed, " failed"
  if (failed > 0) stop 1

contains

  subroutine check(ok, what)
    logical, intent(in) :: ok
    character(len=*), intent(in) :: what
    if (ok) then
      passed = passed + 1
    else
      failed = failed + 1
      print "(2a)", "FAILED: ", what
    end if
  end subroutine

  ! The host's C string as a Fortran string.
  function sent_xml(i) result(text)
    integer(c_int), intent(in) :: i
    character(len=:), allocatable :: text
    type(c_ptr) :: address
    character(kind=c_char), pointer :: bytes(:)
    integer :: k
    address = cxh_sent_xml(i)
    if (.not. c_associated(address)) then
      text = ""
      return
    end if
    call c_f_pointer(address, bytes, [c_strlen(address)])
    allocate(character(len=size(bytes)) :: text)
    do k = 1, size(bytes)
      text(k:k) = bytes(k)
    end do
  end function

end program
