# Sets compiler cache, linker, warnings and sanitizers for all targets.

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_SOURCE_DIR}/tools/ccache-launcher)
endif()

find_program(MOLD_PROGRAM mold)
if(MOLD_PROGRAM)
  add_link_options(-fuse-ld=mold)
endif()

# Libraries and programs have the same option, so that they can share one precompiled header.
add_compile_options(-fPIC)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # A time stamp in the precompiled header would make every ccache look-up a miss.
  add_compile_options("SHELL:-Xclang -fno-pch-timestamp" -Wimplicit-fallthrough)
endif()

if(CMAKE_UNITY_BUILD)
  # Sources that are compiled together see each other's file-local names. The builds of single sources check for
  # shadowing.
  add_compile_options(-Wno-shadow)
endif()

set(SONVALE_SANITIZER "" CACHE STRING "Sanitizers to build with: address,undefined or thread")
if(SONVALE_SANITIZER)
  add_compile_options(-fsanitize=${SONVALE_SANITIZER} -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${SONVALE_SANITIZER})
  if(SONVALE_SANITIZER MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

# All functions are bound at the start. Binding at the first call saves the vector registers on the stack, with the
# remains of the audio or text that they have just copied, and nothing wipes that.
add_link_options(-Wl,-z,relro,-z,now)
