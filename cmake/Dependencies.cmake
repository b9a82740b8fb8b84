# Every library is a Debian package; `./dev setup` installs them. ARCHITECTURE.md contains the reasons. A version is the
# oldest tested one, on Debian 12; `./dev test-on` tests newer ones.

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(Boost 1.81 REQUIRED CONFIG COMPONENTS url)
find_package(ICU 72 REQUIRED COMPONENTS uc i18n data)
find_package(fmt REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets DBus Network Quick Svg WebSockets)

pkg_check_modules(SQLITE3 REQUIRED IMPORTED_TARGET sqlite3)
find_path(SQLITECPP_INCLUDE_DIR SQLiteCpp/SQLiteCpp.h REQUIRED)
find_library(SQLITECPP_LIBRARY SQLiteCpp REQUIRED)
pkg_check_modules(PULSE REQUIRED IMPORTED_TARGET libpulse)
pkg_check_modules(FFMPEG REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil libswresample)
pkg_check_modules(SOXR REQUIRED IMPORTED_TARGET soxr)
pkg_check_modules(POCKETSPHINX REQUIRED IMPORTED_TARGET pocketsphinx sphinxbase)
pkg_get_variable(POCKETSPHINX_MODEL_DIR pocketsphinx modeldir)
# Debian's sphinxbase names an include folder that does not exist in its package; CMake refuses that.
get_target_property(pocketsphinx_folders PkgConfig::POCKETSPHINX INTERFACE_INCLUDE_DIRECTORIES)
foreach(folder IN LISTS pocketsphinx_folders)
  if(NOT EXISTS "${folder}")
    list(REMOVE_ITEM pocketsphinx_folders "${folder}")
  endif()
endforeach()
set_target_properties(PkgConfig::POCKETSPHINX PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${pocketsphinx_folders}")
pkg_check_modules(DBUS REQUIRED IMPORTED_TARGET dbus-1)
pkg_check_modules(X11 REQUIRED IMPORTED_TARGET x11 x11-xcb xi xtst xfixes xext xcb xcb-xinput xcb-xtest xcb-xfixes xcb-xkb xcb-shape)

if(SONVALE_TESTS)
  find_package(Qt6 6.4 REQUIRED COMPONENTS Test)
  find_package(GTest REQUIRED)
  find_package(benchmark REQUIRED)
  find_package(OpenSSL 3 REQUIRED COMPONENTS SSL)
  pkg_check_modules(ATSPI REQUIRED IMPORTED_TARGET atspi-2 gobject-2.0)
endif()

# Headers that nearly every file includes, compiled once for the program and once for the tests. The tests are compiled
# without optimization, which halves the time of their build; the program's code that they call is optimized.
foreach(pch IN ITEMS sonvale_pch sonvale_test_pch)
  add_library(${pch} OBJECT ${CMAKE_SOURCE_DIR}/cmake/pch.cpp)
  target_precompile_headers(${pch} PRIVATE ${CMAKE_SOURCE_DIR}/cmake/pch.h)
  target_compile_definitions(${pch} PUBLIC BOOST_ASIO_NO_DEPRECATED BOOST_ASIO_DISABLE_BOOST_COROUTINE)
  target_link_libraries(${pch} PUBLIC Boost::headers fmt::fmt nlohmann_json::nlohmann_json Threads::Threads)
endforeach()
set_target_properties(sonvale_test_pch PROPERTIES EXCLUDE_FROM_ALL ON)
target_compile_options(sonvale_test_pch PRIVATE -O0)
set(SONVALE_PCH sonvale_pch)
