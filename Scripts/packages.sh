# Sourced by the other scripts: installs missing Debian packages and reports it.

# To build the library, the command line, the tests and the examples.
KYR_BUILD_PACKAGES=(g++ cmake ninja-build mold pkg-config ccache ca-certificates gettext
  libxml2-dev libcurl4-openssl-dev libicu-dev libfmt-dev libasio-dev
  libcli11-dev nlohmann-json3-dev libcpp-httplib-dev
  libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev)
# To play and to make the demo stream.
KYR_PLAYER_PACKAGES=(gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad
  gstreamer1.0-plugins-ugly gstreamer1.0-libav gstreamer1.0-x fonts-dejavu-core)
# The player on mpv; without it it is not built.
KYR_MPV_PACKAGES=(libmpv-dev)
# The ad overlay; without them it is not built.
KYR_OVERLAY_PACKAGES=(qt6-base-dev qt6-declarative-dev libgl-dev qml6-module-qtqml qml6-module-qtqml-workerscript
  qml6-module-qtquick)
# The window of kyr play: picture, sound, and OpenGL without a GPU.
KYR_WINDOW_PACKAGES=(gstreamer1.0-qt6 gstreamer1.0-gl gstreamer1.0-alsa gstreamer1.0-pulseaudio libgl1-mesa-dri libqt6svg6)
# To take pictures of the window without a display.
KYR_SCREEN_PACKAGES=(xvfb xdotool)
KYR_TEST_PACKAGES=(libgtest-dev libgmock-dev libboost-dev libssl-dev zlib1g-dev)
KYR_DEMO_PACKAGES=(python3)
KYR_BENCHMARK_PACKAGES=(libbenchmark-dev python3)
# llvm-19 has the program that converts the addresses in a sanitizer's report to names.
KYR_CHECK_PACKAGES=(git clang-19 clang-tidy-19 libclang-rt-19-dev llvm-19 clang-format python3 libbenchmark-dev)

# install_packages NAME…: returns when all of them are installed.
install_packages() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "==> Installing ${#missing[@]} Debian packages: ${missing[*]}"
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Run this as root, or install sudo: packages are missing." >&2; return 1; }
    as_root=(sudo)
  fi
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" \
    >/dev/null
}

# build_preset PRESET [TARGET…]: configures and builds into build/PRESET.
build_preset() {
  local preset=$1
  shift
  echo "==> Building ($preset)"
  cmake --preset "$preset" >"build-$preset.log" 2>&1 || { cat "build-$preset.log"; rm -f "build-$preset.log"; return 1; }
  rm -f "build-$preset.log"
  cmake --build --preset "$preset" ${1:+--target "$@"}
}

# build_demo [OPTION…]: the optimised command line, without tests, in build/demo. Options are those of cmake.
build_demo() {
  echo "==> Building"
  mkdir -p build
  cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DKYR_TESTS=OFF "$@" >build/demo.log 2>&1 || { cat build/demo.log; return 1; }
  cmake --build build/demo
}
