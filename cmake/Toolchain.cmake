# Compiler cache, linker, warnings and sanitizers, the same for every target.

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_SOURCE_DIR}/tools/ccache-launcher)
endif()

find_program(MOLD_PROGRAM mold)
if(MOLD_PROGRAM)
  add_link_options(-fuse-ld=mold)
endif()

# Libraries and programs alike, so that they can share one precompiled header.
add_compile_options(-fPIC)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # A time stamp inside the precompiled header would make every ccache look-up a miss.
  add_compile_options("SHELL:-Xclang -fno-pch-timestamp" -Wimplicit-fallthrough)
endif()

if(CMAKE_UNITY_BUILD)
  # Sources that are compiled as one see each other's file-local names. The builds of single sources check for shadowing.
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

# Every function is bound at the start. Binding at the first call saves the vector registers to the stack, and with
# them what is left of the audio or the text that they have just copied; nothing wipes that.
add_link_options(-Wl,-z,relro,-z,now)
