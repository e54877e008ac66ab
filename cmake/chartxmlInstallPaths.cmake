# Paths between the folders of an install tree, relative to each other so that
# the tree still works after it has been copied or moved elsewhere.

# Sets OUT to the path that leads from install folder FROM to install folder
# TO, both as GNUInstallDirs gives them (relative to the prefix; "" is the
# prefix itself). "." when they are the same folder. When either is absolute
# the two cannot move together: OUT is then TO as an absolute path.
function(chartxml_install_relative_path out from to)
  if(IS_ABSOLUTE "${from}" OR IS_ABSOLUTE "${to}")
    set(path "${to}")
    if(NOT IS_ABSOLUTE "${to}")
      set(path "${CMAKE_INSTALL_PREFIX}/${to}")
    endif()
    string(REGEX REPLACE "(.)/+$" "\\1" path "${path}")
    set(${out} "${path}" PARENT_SCOPE)
    return()
  endif()
  # Any root does: only the folders' places relative to each other matter.
  set(root "/chartxml-install-prefix")
  file(RELATIVE_PATH path "${root}/${from}" "${root}/${to}")
  string(REGEX REPLACE "/+$" "" path "${path}")
  if(path STREQUAL "")
    set(path ".")
  endif()
  set(${out} "${path}" PARENT_SCOPE)
endfunction()

# Sets OUT to the RPATH entry through which a binary installed in FROM finds
# the libraries installed in LIBDIR.
function(chartxml_install_rpath out from libdir)
  chartxml_install_relative_path(path "${from}" "${libdir}")
  if(IS_ABSOLUTE "${path}")
    set(${out} "${path}" PARENT_SCOPE)
    return()
  endif()
  if(APPLE)
    set(origin "@loader_path")
  else()
    set(origin "$ORIGIN")
  endif()
  if(path STREQUAL ".")
    set(${out} "${origin}" PARENT_SCOPE)
  else()
    set(${out} "${origin}/${path}" PARENT_SCOPE)
  endif()
endfunction()

# Sets, for the pkg-config files of cmake/*.pc.in: CHARTXML_PC_PREFIX (the
# prefix found from the .pc file's own folder), CHARTXML_PC_LIBDIR and
# CHARTXML_PC_INCLUDEDIR (from the prefix, or absolute when given so).
function(chartxml_pkgconfig_paths)
  chartxml_install_relative_path(up "${CMAKE_INSTALL_LIBDIR}/pkgconfig" "")
  if(IS_ABSOLUTE "${up}")
    set(prefix "${up}")
  else()
    set(prefix "\${pcfiledir}/${up}")
  endif()
  foreach(kind LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
      set(CHARTXML_PC_${kind} "${CMAKE_INSTALL_${kind}}" PARENT_SCOPE)
    else()
      set(CHARTXML_PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}" PARENT_SCOPE)
    endif()
  endforeach()
  set(CHARTXML_PC_PREFIX "${prefix}" PARENT_SCOPE)
endfunction()
