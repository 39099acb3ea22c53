# The program is built in layers, each a static library of its own folders:
#
#   util <- os <- core <- package access (msicomp) <- rules, repository <- engine <- ui <- program
#
# and the libmsi shim (msicomp/posix) beside them on util alone. A layer's code may include the
# headers of its own folders, of the layers below it that it depends on, and the text ids of
# res/. Every layer's build checks its sources for any other include of the tree, so an include
# that reaches up (or sideways) fails the build with the file and line that made it.

set(KW_LAYER_CHECK ${CMAKE_CURRENT_LIST_DIR}/CheckLayerIncludes.cmake)
# Folders that every layer may include from.
set(KW_SHARED_FOLDERS res)

# kw_add_layer(<target> FOLDERS <folder>... [DEPENDS <layer>...])
#
# Makes the layer's library; the CMakeLists of its folders add their sources to it.
function(kw_add_layer target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "FOLDERS;DEPENDS")
  add_library(${target} STATIC)
  target_include_directories(${target} PUBLIC ${CMAKE_SOURCE_DIR})
  target_link_libraries(${target} PUBLIC ${arg_DEPENDS})
  kw_apply_build_flags(${target})
  set(allowed ${arg_FOLDERS})
  foreach(dependency IN LISTS arg_DEPENDS)
    get_target_property(below ${dependency} KW_LAYER_ALLOWED)
    list(APPEND allowed ${below})
  endforeach()
  list(REMOVE_DUPLICATES allowed)
  set_target_properties(${target} PROPERTIES KW_LAYER_FOLDERS "${arg_FOLDERS}" KW_LAYER_ALLOWED "${allowed}")
  set_property(GLOBAL APPEND PROPERTY KW_LAYERS ${target})
  set_property(GLOBAL APPEND PROPERTY KW_LAYER_FOLDERS ${arg_FOLDERS})
endfunction()

# Adds the include check to every layer; call it once every layer has been made.
function(kw_check_layers)
  get_property(layers GLOBAL PROPERTY KW_LAYERS)
  get_property(owned GLOBAL PROPERTY KW_LAYER_FOLDERS)
  foreach(layer IN LISTS layers)
    get_target_property(folders ${layer} KW_LAYER_FOLDERS)
    get_target_property(allowed ${layer} KW_LAYER_ALLOWED)
    # The layer's files: everything in its folders but the folders of other layers below them.
    set(files)
    foreach(folder IN LISTS folders)
      file(GLOB_RECURSE found CONFIGURE_DEPENDS RELATIVE ${CMAKE_SOURCE_DIR}
        ${CMAKE_SOURCE_DIR}/${folder}/*.h ${CMAKE_SOURCE_DIR}/${folder}/*.cpp)
      foreach(file IN LISTS found)
        set(own TRUE)
        foreach(other IN LISTS owned)
          if(NOT other IN_LIST folders AND file MATCHES "^${other}/")
            set(own FALSE)
          endif()
        endforeach()
        if(own)
          list(APPEND files ${file})
        endif()
      endforeach()
    endforeach()
    set(stamp ${CMAKE_CURRENT_BINARY_DIR}/layers/${layer}.checked)
    list(TRANSFORM files PREPEND ${CMAKE_SOURCE_DIR}/ OUTPUT_VARIABLE paths)
    add_custom_command(OUTPUT ${stamp}
      COMMAND ${CMAKE_COMMAND} -DLAYER=${layer} "-DALLOWED=${allowed};${KW_SHARED_FOLDERS}" "-DPROJECT_FOLDERS=${owned}"
              -DROOT=${CMAKE_SOURCE_DIR} "-DFILES=${files}" -DSTAMP=${stamp} -P ${KW_LAYER_CHECK}
      DEPENDS ${paths} ${KW_LAYER_CHECK}
      COMMENT "Checking the includes of ${layer}"
      VERBATIM)
    add_custom_target(${layer}_includes DEPENDS ${stamp})
    add_dependencies(${layer} ${layer}_includes)
  endforeach()
endfunction()
