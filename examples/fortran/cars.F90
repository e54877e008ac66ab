! A procedure written in Fortran: reads cars.csv (model, weight, mpg,
! transmission) and sends two charts through the CX_ entry points,
!   1. mpg by weight, one point per car, coloured by transmission;
!   2. bars of the mean mpg of each transmission;
! into an output folder, where the host's sink writes each chart's document
! (chart-NNNN.xml) and data (chart-NNNN.source0.csv). Built with the
! renderer (HAVE_CHARTXML_RENDER), it also draws each chart as a PNG there.
!
! usage: cars DATA.csv OUTPUT_DIR
!
! Every CX_ function returns -1 on failure after reporting why to the host's
! report log; this program stops at the first one and prints the log.
program cars
  use, intrinsic :: iso_c_binding
  use, intrinsic :: iso_fortran_env, only: error_unit
  implicit none
  ! The named codes (CX_WORD_..., CX_ROLE_..., CX_SUMMARY_...) and the
  ! interfaces of the C functions, both installed with the headers.
  include "chartxml/cx_codes.fi"
  include "chartxml/cx_interfaces.fi"

  interface
    ! POSIX mkdir, for the output folder.
    function c_mkdir(path, mode) bind(C, name="mkdir") result(status)
      import :: c_char, c_int
      character(kind=c_char), dimension(*), intent(in) :: path
      integer(c_int), value :: mode
      integer(c_int) :: status
    end function
  end interface

  ! The columns of cars.csv, 0-based, as the host's data source numbers them.
  integer(c_int64_t), parameter :: colWeight = 1, colMpg = 2, colTransmission = 3
  ! The entry points take every argument by address, constants too.
  integer(c_int64_t), parameter :: none = -1, no = 0, yes = 1, first = 1
  character(len=*, kind=c_char), parameter :: procName = "CARS"
  integer, parameter :: maxCars = 10000

  character(len=4096) :: csvPath, outDir
  real(c_double) :: weight(maxCars), mpg(maxCars)
  logical :: manual(maxCars)
  integer :: count, i, status
  integer(c_int) :: ignored
  type(c_ptr) :: allOnes, dictionary
#ifdef HAVE_CHARTXML_RENDER
  character(len=:), allocatable :: picture
#endif

  if (command_argument_count() /= 2) then
    write(error_unit, "(a)") "usage: cars DATA.csv OUTPUT_DIR"
    stop 2
  end if
  call get_command_argument(1, csvPath)
  call get_command_argument(2, outDir)
  ! An existing folder is fine; one that cannot be made shows as the sink's
  ! failure to write into it, reported with its path.
  ignored = c_mkdir(trim(outDir) // c_null_char, int(o'777', c_int))

  call read_cars(trim(csvPath), weight, mpg, manual, count)

  ! The sink writes each sent chart into the folder; the data source gives
  ! the library the columns' names, labels and formats.
  call cxh_set_output_dir(trim(outDir) // c_null_char)
  call cxh_set_quiet(1_c_int)  ! this program prints the reports itself
  dictionary = cxh_open_csv(trim(csvPath) // c_null_char)
  if (.not. c_associated(dictionary)) then
    write(error_unit, "(3a)") "cars: the host cannot read ", trim(csvPath), ":"
    call print_reports()
    stop 1
  end if
  ! All-ones data: "the dictionary is the data source itself".
  allOnes = transfer(-1_c_intptr_t, allOnes)
  status = int(need(CX_INIT(allOnes, dictionary, procName, len(procName, c_int64_t)), "CX_INIT"))

  call scatter()
  call mean_bars()
  status = int(need(CX_TERMINATE(), "CX_TERMINATE"))
  call cxh_close(dictionary)

  status = 0
  do i = 0, cxh_sent_count() - 1
    print "(a, i0, 2a)", "chart ", i + 1, ": data in ", &
      c_string(cxh_sent_data_path(int(i, c_int), "source0" // c_null_char))
#ifdef HAVE_CHARTXML_RENDER
    picture = trim(outDir) // "/cars-" // decimal(i + 1) // ".png"
    if (cxr_render_sent(int(i, c_int), picture // c_null_char, c_null_ptr) /= 0) then
      write(error_unit, "(2a)") "cars: ", c_string(cxr_error())
      status = 1
    else
      print "(a, i0, 2a)", "chart ", i + 1, ": drawn in ", picture
    end if
#endif
  end do
  if (status /= 0) stop 1

contains

  ! Chart 1: a point per car, mpg by weight, coloured by transmission, with
  ! a legend of the colours.
  subroutine scatter()
    integer(c_int64_t) :: chart, source, graph, frame, x, y, colour, element
    integer(c_int64_t) :: xStyle, xAxis, yStyle, yAxis, legendStyle, legend
    call create("Fuel use by weight", chart, source, graph, frame)
    x = need(CX_ADDVARIABLE(chart, source, colWeight, no), "CX_ADDVARIABLE")
    y = need(CX_ADDVARIABLE(chart, source, colMpg, no), "CX_ADDVARIABLE")
    colour = need(CX_ADDVARIABLE(chart, source, colTransmission, yes), "CX_ADDVARIABLE")
    status = int(need(CX_ADDXYDIMENSIONWITHAXIS(chart, frame, none, none, no, no, xStyle, xAxis, &
                                                yStyle, yAxis), "CX_ADDXYDIMENSIONWITHAXIS"))
    call label_axis(chart, xAxis, colWeight)
    call label_axis(chart, yAxis, colMpg)
    status = int(need(CX_ADDXYELEMENTEX(chart, frame, first, CX_WORD_POINT, x, y, &
                                        CX_WORD_SCATTER, element), "CX_ADDXYELEMENTEX"))
    status = int(need(CX_ADDCOLOR(chart, element, colour), "CX_ADDCOLOR"))
    status = int(need(CX_ADDLEGENDFRAME(chart, graph, element, first, CX_WORD_COLOR, c_null_ptr, &
                                        legendStyle, legend), "CX_ADDLEGENDFRAME"))
    call label_axis(chart, legend, colTransmission)
    call feed(chart, source, x, y, colour)
    status = int(need(CX_ENDCHART(chart), "CX_ENDCHART"))  ! completes and sends it
  end subroutine

  ! Chart 2: a bar per transmission, as high as the mean mpg of its cars; the
  ! host's chart engine computes the means from the rows.
  subroutine mean_bars()
    integer(c_int64_t) :: chart, source, graph, frame, x, y, element
    integer(c_int64_t) :: xStyle, xAxis, yStyle, yAxis
    call create("Mean fuel use by transmission", chart, source, graph, frame)
    x = need(CX_ADDVARIABLE(chart, source, colTransmission, yes), "CX_ADDVARIABLE")
    y = need(CX_ADDVARIABLE(chart, source, colMpg, no), "CX_ADDVARIABLE")
    status = int(need(CX_ADDXYDIMENSIONWITHAXIS(chart, frame, none, none, no, no, xStyle, xAxis, &
                                                yStyle, yAxis), "CX_ADDXYDIMENSIONWITHAXIS"))
    call label_axis(chart, xAxis, colTransmission)
    status = int(need(CX_ADDLABEL(chart, yAxis, none, text_handle("Mean miles per US gallon")), &
                      "CX_ADDLABEL"))
    status = int(need(CX_ADDXYELEMENTEX(chart, frame, first, CX_WORD_INTERVAL, x, y, &
                                        CX_WORD_SIMPLEBAR, element), "CX_ADDXYELEMENTEX"))
    status = int(need(CX_ADDSTATISTIC(chart, element, CX_WORD_MEAN), "CX_ADDSTATISTIC"))
    ! The y variable notes the same summary, for the chart's texts.
    status = int(need(CX_SETSUMMARYFUNCTION(chart, y, CX_SUMMARY_MEAN_OF_VALUES, 0.0_c_double, &
                                            0.0_c_double), "CX_SETSUMMARYFUNCTION"))
    call feed(chart, source, none, y, x)
    status = int(need(CX_ENDCHART(chart), "CX_ENDCHART"))
  end subroutine

  ! A new chart with its title: the chart, its data source and its frames.
  subroutine create(title, chart, source, graph, frame)
    character(len=*), intent(in) :: title
    integer(c_int64_t), intent(out) :: chart, source, graph, frame
    status = int(need(CX_CREATECHARTEX(allOnes, dictionary, procName, len(procName, c_int64_t), &
                                       chart, source, graph, frame), "CX_CREATECHARTEX"))
    status = int(need(CX_ADDFRAMEWITHLABEL(chart, graph, CX_WORD_TITLE, first, &
                                           text_handle(title), c_null_ptr), "CX_ADDFRAMEWITHLABEL"))
  end subroutine

  ! The axis (or legend) titled by the column's label from the dictionary.
  subroutine label_axis(chart, axis, column)
    integer(c_int64_t), intent(in) :: chart, axis, column
    status = int(need(CX_ADDLABEL(chart, axis, none, &
                                  need(CX_VARIABLELABEL(column), "CX_VARIABLELABEL")), "CX_ADDLABEL"))
  end subroutine

  ! One row per car: the numbers as numbers, the transmission as a text. An
  ! x (weight) of -1 is no variable of the chart and gets no values.
  subroutine feed(chart, source, x, y, transmission)
    integer(c_int64_t), intent(in) :: chart, source, x, y, transmission
    integer(c_int64_t) :: automaticText, manualText, kind
    integer :: row
    ! One handle per distinct text, made once.
    automaticText = text_handle("automatic")
    manualText = text_handle("manual")
    do row = 1, count
      status = int(need(CX_ADDROW(chart, source), "CX_ADDROW"))
      if (x >= 0) then
        status = int(need(CX_ADDDOUBLEDATAVALUE(chart, source, x, weight(row)), &
                          "CX_ADDDOUBLEDATAVALUE"))
      end if
      status = int(need(CX_ADDDOUBLEDATAVALUE(chart, source, y, mpg(row)), "CX_ADDDOUBLEDATAVALUE"))
      kind = merge(manualText, automaticText, manual(row))
      status = int(need(CX_ADDDATAVALUE(chart, source, transmission, kind), "CX_ADDDATAVALUE"))
    end do
  end subroutine

  ! A text shown as it is (not looked up in the string tables): its handle.
  function text_handle(value) result(handle)
    character(len=*), intent(in) :: value
    integer(c_int64_t) :: handle
    handle = need(CX_NSTRINGNOTRANSLATE(value, len(value, c_int64_t)), "CX_NSTRINGNOTRANSLATE")
  end function

  ! A failed step ends the program: the host's log says why.
  function need(returned, step) result(value)
    integer(c_int64_t), intent(in) :: returned
    character(len=*), intent(in) :: step
    integer(c_int64_t) :: value
    if (returned < 0) then
      write(error_unit, "(3a)") "cars: ", step, " failed; the host reported:"
      call print_reports()
      stop 1
    end if
    value = returned
  end function

  subroutine print_reports()
    integer(c_int) :: k
    do k = 0, cxh_report_count() - 1
      write(error_unit, "(2x, 2a, i0, 2a)") c_string(cxh_report_source(k)), ":", &
        cxh_report_line(k), ": ", c_string(cxh_report_message(k))
    end do
  end subroutine

  ! Reads the rows of PATH. The host reads the same file for the columns'
  ! names, labels and formats, but hands no values back: the procedure feeds
  ! the rows itself. A malformed line stops the program, named with its number.
  subroutine read_cars(path, weight, mpg, manual, count)
    character(len=*), intent(in) :: path
    real(c_double), intent(out) :: weight(:), mpg(:)
    logical, intent(out) :: manual(:)
    integer, intent(out) :: count
    character(len=1024) :: line, message
    integer :: unit, ios, lineNumber, c1, c2, c3
    open(newunit=unit, file=path, status="old", action="read", iostat=ios, iomsg=message)
    if (ios /= 0) then
      write(error_unit, "(4a)") "cars: cannot open ", path, ": ", trim(message)
      stop 1
    end if
    count = 0
    lineNumber = 0
    do
      read(unit, "(a)", iostat=ios) line
      if (ios /= 0) exit
      lineNumber = lineNumber + 1
      if (lineNumber == 1 .or. len_trim(line) == 0) cycle  ! the header, a blank last line
      ! MODEL,WEIGHT,MPG,TRANSMISSION: the three commas.
      c1 = index(line, ",")
      c2 = c1 + index(line(c1 + 1:), ",")
      c3 = c2 + index(line(c2 + 1:), ",")
      if (c1 == 0 .or. c2 == c1 .or. c3 == c2 .or. count == size(weight)) call bad_line(path, lineNumber)
      count = count + 1
      read(line(c1 + 1:c2 - 1), *, iostat=ios) weight(count)
      if (ios /= 0) call bad_line(path, lineNumber)
      read(line(c2 + 1:c3 - 1), *, iostat=ios) mpg(count)
      if (ios /= 0) call bad_line(path, lineNumber)
      ! Compared blank-padded: trailing blanks do not count.
      if (line(c3 + 1:) /= "manual" .and. line(c3 + 1:) /= "automatic") then
        call bad_line(path, lineNumber)
      end if
      manual(count) = line(c3 + 1:) == "manual"
    end do
    if (.not. is_iostat_end(ios)) then
      write(error_unit, "(3a, i0)") "cars: ", path, ": read error after line ", lineNumber
      stop 1
    end if
    close(unit)
    if (count == 0) then
      write(error_unit, "(3a)") "cars: ", path, ": no rows"
      stop 1
    end if
  end subroutine

  subroutine bad_line(path, lineNumber)
    character(len=*), intent(in) :: path
    integer, intent(in) :: lineNumber
    write(error_unit, "(3a, i0, a)") "cars: ", path, ":", lineNumber, &
      ": expected MODEL,WEIGHT,MPG,automatic|manual"
    stop 1
  end subroutine

  ! A C string (NUL-terminated, the host's) as a Fortran string; "" for NULL.
  function c_string(address) result(text)
    type(c_ptr), intent(in) :: address
    character(len=:), allocatable :: text
    character(kind=c_char), pointer :: bytes(:)
    integer :: k
    if (.not. c_associated(address)) then
      text = ""
      return
    end if
    call c_f_pointer(address, bytes, [cx_strlen(address)])
    allocate(character(len=size(bytes)) :: text)
    do k = 1, size(bytes)
      text(k:k) = bytes(k)
    end do
  end function

  function decimal(n) result(text)
    integer, intent(in) :: n
    character(len=:), allocatable :: text
    character(len=12) :: buffer
    write(buffer, "(i0)") n
    text = trim(buffer)
  end function

end program
