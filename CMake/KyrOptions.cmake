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
set(CMAKE_INSTALL_RPATH $ORIGIN)  # the libraries find one another wherever they are installed

find_program(KYR_CCACHE ccache)
if(KYR_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${KYR_CCACHE})
endif()

add_library(kyr_flags INTERFACE)
target_compile_options(kyr_flags INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  # GCC 12 sees overlapping copies in the concatenation of strings where there are none (GCC bug 105651), and, optimised,
  # uninitialised members in the move of an empty std::optional (GCC bug 105562).
  "$<$<CXX_COMPILER_ID:GNU>:-Wno-restrict;-Wno-maybe-uninitialized>")
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # libstdc++ 12 sorts through a function that C++17 deprecates, and Clang blames the caller.
  target_compile_options(kyr_flags INTERFACE -Wno-deprecated-declarations)
endif()
if(KYR_SANITIZE)
  add_compile_options(-fsanitize=${KYR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KYR_SANITIZE})
endif()

# For tests alone: optimising the instrumented templates of googletest would take most of the time of a sanitizer's build.
add_library(kyr_test_flags INTERFACE)
target_link_libraries(kyr_test_flags INTERFACE kyr_flags)
if(KYR_SANITIZE)
  target_compile_options(kyr_test_flags INTERFACE -O0)
endif()
