#!/usr/bin/env bash
# Installs the Debian packages of one or more tasks, unless they are installed already.
#
#   scripts/packages.sh build      compile the programs
#   scripts/packages.sh test       compile and run the tests and benchmarks
#   scripts/packages.sh demo       compile and run the demonstration
#   scripts/packages.sh gate       compile the benchmarks and count their instructions
#   scripts/packages.sh package    compile the programs and make the Debian package
#   scripts/packages.sh format     check the formatting
#   scripts/packages.sh windows    compile for Windows, and run the programs and tests
#   scripts/packages.sh bare       make a bare Debian system to test the others
set -euo pipefail

packages_of() {
  case $1 in
    opencv) echo libopencv-core-dev libopencv-imgproc-dev libopencv-imgcodecs-dev ;;
    control) echo libcli11-dev nlohmann-json3-dev libpng-dev libtomlplusplus-dev ;;
    desktop) echo xvfb openbox x11-xserver-utils x11-utils x11-apps xterm xdotool ;;
    build)
      packages_of opencv
      packages_of control
      echo g++ cmake ninja-build pkgconf
      echo libxcb1-dev libxcb-shm0-dev libxcb-damage0-dev libxcb-xfixes0-dev libxcb-randr0-dev libxcb-res0-dev
      echo libxcb-xinput-dev
      echo libfreetype-dev libfontconfig-dev fonts-dejavu-core
      ;;
    test)
      packages_of build
      packages_of desktop
      echo libgtest-dev libgmock-dev libbenchmark-dev libxcb-xtest0-dev fonts-nanum python3
      ;;
    demo)
      packages_of test
      echo netpbm
      ;;
    gate)
      packages_of test
      echo valgrind
      ;;
    package)
      packages_of build
      echo dpkg-dev
      ;;
    format) echo clang-format ;;
    bare) echo debootstrap git ;;
    windows)
      packages_of opencv
      packages_of control
      # Not g++-mingw-w64-x86-64: it also installs a compiler without std::thread, and prefers it.
      echo g++-mingw-w64-x86-64-posix libz-mingw-w64-dev cmake ninja-build dpkg-dev googletest
      # The launcher and the 64-bit loader; a display with software rendering.
      echo wine wine64 xvfb libgl1 libgl1-mesa-dri
      echo libxcomposite1 libxcursor1 libxi6 libxinerama1 libxrandr2
      ;;
    *)
      echo "packages.sh: no task '$1'" >&2
      return 2
      ;;
  esac
}

missing=()
for task in "$@"; do
  names=$(packages_of "$task")
  for package in $names; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || status=none
    [ "$status" = installed ] || missing+=("$package")
  done
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=(env DEBIAN_FRONTEND=noninteractive)
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "packages.sh: packages are missing; run as root:" >&2
    echo "  apt-get install --no-install-recommends ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo "${as_root[@]}")
fi
echo "Installing ${missing[*]}"
apt=("${as_root[@]}" apt-get -qq -o Acquire::Retries=3 -o DPkg::Lock::Timeout=300)
"${apt[@]}" update
"${apt[@]}" install -y --no-install-recommends "${missing[@]}" >/dev/null
