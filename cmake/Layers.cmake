# One folder under src/ is one layer and one static library. cmake/layers.txt contains the layers that a layer may
# include.

set(SONVALE_LAYER_TABLE ${CMAKE_SOURCE_DIR}/cmake/layers.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${SONVALE_LAYER_TABLE})

# Returns the target of the layer FOLDER.
function(sonvale_layer_target FOLDER RESULT)
  string(REPLACE "/" "_" target "sonvale_${FOLDER}")
  set(${RESULT} ${target} PARENT_SCOPE)
endfunction()

# Returns the targets of the layers that FOLDER names in the table.
function(sonvale_layers_below FOLDER RESULT)
  file(STRINGS ${SONVALE_LAYER_TABLE} row REGEX "^${FOLDER}:")
  if(NOT row)
    message(FATAL_ERROR "${SONVALE_LAYER_TABLE} has no layer ${FOLDER}.")
  endif()
  string(REGEX REPLACE "^[^:]*:" "" row "${row}")
  string(STRIP "${row}" row)
  separate_arguments(folders UNIX_COMMAND "${row}")
  set(targets)
  foreach(folder IN LISTS folders)
    sonvale_layer_target(${folder} target)
    list(APPEND targets ${target})
  endforeach()
  set(${RESULT} ${targets} PARENT_SCOPE)
endfunction()

# Returns the targets of all adapters.
function(sonvale_adapters RESULT)
  file(STRINGS ${SONVALE_LAYER_TABLE} rows REGEX "^adapters/")
  set(targets)
  foreach(row IN LISTS rows)
    string(REGEX REPLACE ":.*" "" folder "${row}")
    sonvale_layer_target(${folder} target)
    list(APPEND targets ${target})
  endforeach()
  set(${RESULT} ${targets} PARENT_SCOPE)
endfunction()

# Adds the library of the layer FOLDER, which is also linked with LIBRARIES. It leaves out the files that match WITHOUT.
function(sonvale_layer FOLDER)
  cmake_parse_arguments(ARG "QT" "WITHOUT" "LIBRARIES" ${ARGN})
  sonvale_layer_target(${FOLDER} target)
  sonvale_layers_below(${FOLDER} below)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${FOLDER}/*.cpp)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${FOLDER}/*.h)
  if(ARG_WITHOUT)
    list(FILTER sources EXCLUDE REGEX ${ARG_WITHOUT})
    list(FILTER headers EXCLUDE REGEX ${ARG_WITHOUT})
  endif()
  set(scope PUBLIC)
  if(sources)
    add_library(${target} STATIC ${sources} ${headers})
    sonvale_precompile(${target} ${ARG_QT})
  else()
    add_library(${target} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_include_directories(${target} ${scope} ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(${target} ${scope} ${below} ${ARG_LIBRARIES} Boost::headers fmt::fmt nlohmann_json::nlohmann_json
                                           Threads::Threads)
  target_compile_definitions(${target} ${scope} BOOST_ASIO_NO_DEPRECATED BOOST_ASIO_DISABLE_BOOST_COROUTINE)
endfunction()

# Uses the precompiled header that the folder has chosen in SONVALE_PCH. Targets with Qt share it, because the header
# includes nothing of Qt, and clang refuses only a macro whose value differs from its value in the header.
function(sonvale_precompile TARGET QT)
  if(QT)
    target_compile_definitions(${TARGET} PUBLIC QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII)
    set_target_properties(${TARGET} PROPERTIES AUTOMOC ON AUTORCC ON)
  endif()
  target_precompile_headers(${TARGET} REUSE_FROM ${SONVALE_PCH})
endfunction()
