# Build switches and the flags that every target of this project is compiled with.
option(KYR_APPS "Build the kyr command line" ON)
option(KYR_GSTREAMER "Build the GStreamer player" ON)
find_package(Qt6 6.4 QUIET COMPONENTS Quick)
option(KYR_OVERLAY "Build the ad overlay (Qt 6 Quick); on where Qt is installed" ${Qt6Quick_FOUND})
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
  pkg_check_modules(MPV QUIET IMPORTED_TARGET mpv>=2.0)
endif()
option(KYR_MPV "Build the player on mpv; on where libmpv is installed" ${MPV_FOUND})
option(KYR_TESTS "Build the tests and the examples" ON)
option(KYR_BENCHMARKS "Build the benchmarks" OFF)
option(KYR_FUZZ "Build the libFuzzer targets (Clang only)" OFF)
set(KYR_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_INSTALL_RPATH $ORIGIN)  # the libraries find each other in any install folder

find_program(KYR_CCACHE ccache)
if(KYR_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${KYR_CCACHE})
endif()

# Links a hundred programs with debug information several times faster than the linker of binutils.
find_program(KYR_MOLD mold)
if(KYR_MOLD AND PROJECT_IS_TOP_LEVEL)
  add_link_options(-fuse-ld=mold)
endif()

add_library(kyr_flags INTERFACE)
target_compile_options(kyr_flags INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  # GCC 12 wrongly reports overlapping copies in the concatenation of strings (GCC bug 105651) and, optimised,
  # uninitialised members in the move of an empty std::optional (GCC bug 105562).
  "$<$<CXX_COMPILER_ID:GNU>:-Wno-restrict;-Wno-maybe-uninitialized>")
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # libstdc++ 12 sorts with a function that C++17 deprecates, and Clang warns in the caller.
  target_compile_options(kyr_flags INTERFACE -Wno-deprecated-declarations)
endif()
if(KYR_SANITIZE)
  add_compile_options(-fsanitize=${KYR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KYR_SANITIZE})
endif()

# kyr_precompile(TARGET): in a sanitizer build, the program's largest headers are read once for all its sources. The ordinary build
# reads them with each source and so notices a missing #include.
function(kyr_precompile target)
  if(NOT KYR_SANITIZE)
    return()
  endif()
  if(NOT TARGET kyr_precompiled)
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/precompiled.cpp CONTENT "int main() {}\n")
    add_executable(kyr_precompiled ${PROJECT_BINARY_DIR}/precompiled.cpp)
    find_package(GTest REQUIRED)
    target_link_libraries(kyr_precompiled PRIVATE kyr_flags GTest::gmock)
    target_compile_options(kyr_precompiled PRIVATE -fPIC "SHELL:-Xclang -fno-pch-timestamp")  # for ccache
    target_precompile_headers(kyr_precompiled PRIVATE <gmock/gmock.h> <nlohmann/json.hpp> <fmt/format.h>
      <algorithm> <chrono> <functional> <map> <memory> <mutex> <optional> <string> <thread> <variant> <vector>)
  endif()
  target_compile_options(${target} PRIVATE -fPIC)  # Qt adds it to its users, and all must agree
  target_precompile_headers(${target} REUSE_FROM kyr_precompiled)
endfunction()
