# One folder under src/ is one layer and one static library. The layers that it may use are named
# here and checked again, file by file, by tools/check-layers.

function(sonvale_layer NAME)
  cmake_parse_arguments(ARG "QT" "FOLDER" "USES" ${ARGN})
  if(NOT ARG_FOLDER)
    set(ARG_FOLDER ${NAME})
  endif()
  string(REPLACE "/" "_" target "sonvale_${ARG_FOLDER}")
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${ARG_FOLDER}/*.cpp)
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${ARG_FOLDER}/*.h)
  if(sources)
    add_library(${target} STATIC ${sources} ${headers})
    target_include_directories(${target} PUBLIC ${CMAKE_SOURCE_DIR}/src)
    target_link_libraries(${target} PUBLIC ${ARG_USES} Boost::headers fmt::fmt nlohmann_json::nlohmann_json
                                           Threads::Threads)
    target_compile_definitions(${target} PUBLIC BOOST_ASIO_NO_DEPRECATED BOOST_ASIO_DISABLE_BOOST_COROUTINE)
    sonvale_precompile(${target} ${ARG_QT})
  else()
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE ${CMAKE_SOURCE_DIR}/src)
    target_link_libraries(${target} INTERFACE ${ARG_USES} Boost::headers fmt::fmt nlohmann_json::nlohmann_json
                                              Threads::Threads)
    target_compile_definitions(${target} INTERFACE BOOST_ASIO_NO_DEPRECATED BOOST_ASIO_DISABLE_BOOST_COROUTINE)
  endif()
endfunction()

# Uses the precompiled header that the folder has chosen in SONVALE_PCH. Targets with Qt share it: the header includes
# nothing of Qt, and clang only refuses a macro whose value differs from the one that the header saw.
function(sonvale_precompile TARGET QT)
  if(QT)
    target_compile_definitions(${TARGET} PUBLIC QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII)
    set_target_properties(${TARGET} PROPERTIES AUTOMOC ON AUTORCC ON)
  endif()
  target_precompile_headers(${TARGET} REUSE_FROM ${SONVALE_PCH})
endfunction()
