# Warnings of our own targets, set on each target rather than through the
# global flags, so that the flags of a project that embeds ours stay its own.
# CHARTXML_WERROR makes them errors (CI turns it on).

# Gives every buildable target defined in DIR and the folders below it our
# warning options. They go first on the target's command line, so that a
# target's own -Wno-... options still win over -Wall and -Wextra.
function(chartxml_target_warnings dir)
  get_property(targets DIRECTORY "${dir}" PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    if(type MATCHES "^(EXECUTABLE|SHARED_LIBRARY|STATIC_LIBRARY|MODULE_LIBRARY|OBJECT_LIBRARY)$")
      target_compile_options(${target} BEFORE PRIVATE -Wall -Wextra
                             $<$<BOOL:${CHARTXML_WERROR}>:-Werror>)
    endif()
  endforeach()
  get_property(subdirs DIRECTORY "${dir}" PROPERTY SUBDIRECTORIES)
  foreach(subdir IN LISTS subdirs)
    chartxml_target_warnings("${subdir}")
  endforeach()
endfunction()
