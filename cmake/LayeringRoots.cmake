# What tests/layering/check_layering.py needs to know of the build: for every
# library and program of the tree, the files it compiles and the include
# roots it is built with, in the order the compiler searches them (its own,
# then those of the libraries it links, through their usage requirements).
# The check reads them from here rather than keep a copy that could drift
# from the CMake files.
#
# tally_write_layering_roots(FILE) writes FILE at generate time, one line per
# target, tab-separated:
#   target  source-folder  sources  include-roots
# sources and include-roots are ;-lists, sources as the target names them
# (relative to source-folder or absolute), roots absolute. A first line
# "#binary-dir" names the build folder, whose generated roots are no one's.

function(tally_collect_targets directory result)
  get_property(targets DIRECTORY ${directory} PROPERTY BUILDSYSTEM_TARGETS)
  get_property(subdirectories DIRECTORY ${directory} PROPERTY SUBDIRECTORIES)
  foreach(subdirectory IN LISTS subdirectories)
    tally_collect_targets(${subdirectory} below)
    list(APPEND targets ${below})
  endforeach()
  set(${result} ${targets} PARENT_SCOPE)
endfunction()

function(tally_write_layering_roots output)
  tally_collect_targets(${CMAKE_SOURCE_DIR} targets)
  set(lines "#binary-dir\t${CMAKE_BINARY_DIR}\n")
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    if(NOT type MATCHES "^(STATIC_LIBRARY|SHARED_LIBRARY|MODULE_LIBRARY|OBJECT_LIBRARY|EXECUTABLE)$")
      continue()
    endif()
    get_target_property(folder ${target} SOURCE_DIR)
    get_target_property(sources ${target} SOURCES)
    string(APPEND lines
      "${target}\t${folder}\t${sources}\t$<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>\n")
  endforeach()
  file(GENERATE OUTPUT ${output} CONTENT "${lines}")
endfunction()
