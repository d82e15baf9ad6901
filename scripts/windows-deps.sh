#!/usr/bin/env bash
# Builds the libraries of the Windows build (OpenCV's core, imgproc and imgcodecs with PNG and JPEG, static)
# from Debian's source packages and adds the header-only ones, as one prefix outside the tree. Uses an existing
# prefix as it is. Prints its path.
#
#   scripts/windows-deps.sh             make the prefix unless it exists
#   scripts/windows-deps.sh --print     only print its path
#
# QUILLMARK_CACHE   the folder that holds the prefix (default: quillmark in the user's cache folder)
# JOBS              how many compilers run at once (default: the number of processors)
#
# Exit code 3: this machine's package sources do not offer the source packages.
set -euo pipefail
cd "$(dirname "$0")/.."
top=$PWD
no_sources=3

# ---- where the prefix is -------------------------------------------------------------------------------

# The name depends on the libraries' versions and on how they are built. The versions are those installed here: the
# build takes the newest available, and an upgraded machine builds again.
packages=(libopencv-core-dev libpng16-16 libjpeg62-turbo libz-mingw-w64-dev g++-mingw-w64-x86-64-posix
  libcli11-dev nlohmann-json3-dev libtomlplusplus-dev)
if ! versions=$(dpkg-query -W "${packages[@]}"); then
  echo "windows-deps.sh: packages are missing; run scripts/packages.sh windows" >&2
  exit 1
fi
key=$({
  echo "$versions"
  cat scripts/windows-deps.sh cmake/mingw-w64.cmake
} | sha256sum | cut -c 1-16)
cache=${QUILLMARK_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/quillmark}
prefix=$cache/windows-deps-$key

case "${1:-}" in
  '') ;;
  --print)
    echo "$prefix"
    exit 0
    ;;
  *)
    echo "usage: scripts/windows-deps.sh [--print]" >&2
    exit 2
    ;;
esac

mkdir -p "$cache"
exec 9>"$cache/windows-deps.lock"
flock 9
if [ -e "$prefix/complete" ]; then
  echo "$prefix"
  exit 0
fi

# ---- sources -------------------------------------------------------------------------------------------

# CMake's files in the prefix contain its path, so it is built in place; what an interrupted run left is removed.
for left in "$cache"/windows-deps-*; do
  [ -e "$left/complete" ] || rm -rf "$left"
done
# Always in the same folder, for the compiler cache.
work=$cache/windows-deps.build
rm -rf "$work"
mkdir "$work"
trap 'rm -rf "$work"' EXIT

# logged WHAT COMMAND...: runs the command and shows its output only when it fails.
logged() {
  local what=$1 start=$SECONDS
  shift
  if ! "$@" >"$work/log" 2>&1 9>&-; then
    tail -n 40 "$work/log" >&2
    echo "windows-deps.sh: failed: $what" >&2
    return 1
  fi
  echo "$what: $((SECONDS - start)) s" >&2
}

# Reads source packages from this machine's package sources, in a private folder, so that the system's configuration
# does not change.
mkdir -p "$work/apt/sources.list.d" "$work/apt/lists/partial" "$work/apt/cache/archives/partial"
for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
  [ ! -e "$list" ] || sed -nE 's/^deb(-src)?[[:space:]]/deb-src /p' "$list"
done | sort -u >"$work/apt/sources.list"
for list in /etc/apt/sources.list.d/*.sources; do
  [ ! -e "$list" ] || sed -E 's/^Types:.*/Types: deb-src/I' "$list" >"$work/apt/sources.list.d/${list##*/}"
done
apt_options=(-qq -o Acquire::Retries=3 -o APT::Sandbox::User=
  -o "Dir::Etc::SourceList=$work/apt/sources.list" -o "Dir::Etc::SourceParts=$work/apt/sources.list.d"
  -o "Dir::State::Lists=$work/apt/lists" -o "Dir::Cache=$work/apt/cache")

fetched=()
# fetch NAME: downloads the newest version available; a mirror may list one that it does not have yet.
fetch() {
  local name=$1 version
  while read -r version; do
    if logged "Source package $name $version" apt-get "${apt_options[@]}" source --download-only \
      "$name=$version"; then
      fetched+=("$name $version")
      return
    fi
  done < <(apt-cache "${apt_options[@]}" showsrc --only-source "$name" |
    sed -n 's/^Version: //p' | sort --version-sort --reverse --unique)
  return 1
}

cd "$work"
# Other package sources may have no source packages; only ours matter.
logged "Lists of source packages" apt-get "${apt_options[@]}" update || true
for name in opencv libpng1.6 libjpeg-turbo; do
  fetch "$name" || {
    echo "windows-deps.sh: no source package $name in this machine's package sources" >&2
    exit "$no_sources"
  }
  logged "Unpacking $name" dpkg-source --no-check -x "$name"_*.dsc "$name"
done

# ---- libraries -----------------------------------------------------------------------------------------

# build NAME OPTIONS...: configures, builds and installs one of them.
build() {
  local name=$1
  shift
  logged "Configuring $name" cmake -S "$name" -B "build-$name" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$top/cmake/mingw-w64.cmake" -DQUILLMARK_WINDOWS_DEPS="$prefix" \
    -DCMAKE_CROSSCOMPILING_EMULATOR= -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" "$@"
  logged "Building $name" cmake --build "build-$name" -j "${JOBS:-$(nproc)}" --target install
  install -D -m 644 "$name/debian/copyright" "$prefix/share/doc/$name/copyright"
}
zlib=(-DZLIB_LIBRARY=/usr/x86_64-w64-mingw32/lib/libz.a -DZLIB_INCLUDE_DIR=/usr/x86_64-w64-mingw32/include)

mkdir -p "$prefix"
build libpng1.6 "${zlib[@]}" -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF
build libjpeg-turbo -DENABLE_SHARED=OFF -DWITH_SIMD=OFF -DWITH_TURBOJPEG=OFF
# Debian's sources come without the bundled libraries, so each must be named or switched off. Without
# HAVE_PTHREAD there would be no parallel loops at all.
build opencv "${zlib[@]}" -DBUILD_LIST=core,imgproc,imgcodecs -DBUILD_SHARED_LIBS=OFF -DBUILD_TESTS=OFF \
  -DBUILD_PERF_TESTS=OFF -DBUILD_opencv_apps=OFF -DBUILD_JAVA=OFF -DBUILD_ZLIB=OFF -DBUILD_PNG=OFF \
  -DBUILD_JPEG=OFF -DJPEG_LIBRARY="$prefix/lib/libjpeg.a" -DJPEG_INCLUDE_DIR="$prefix/include" \
  -DWITH_TIFF=OFF -DWITH_WEBP=OFF -DWITH_OPENJPEG=OFF -DWITH_JASPER=OFF -DWITH_OPENEXR=OFF \
  -DWITH_IPP=OFF -DWITH_ITT=OFF -DWITH_OPENCL=OFF -DWITH_DIRECTX=OFF -DWITH_EIGEN=OFF -DWITH_LAPACK=OFF \
  -DWITH_QUIRC=OFF -DWITH_PROTOBUF=OFF -DWITH_ADE=OFF -DWITH_FFMPEG=OFF -DWITH_GSTREAMER=OFF \
  -DHAVE_PTHREAD=1 "-DCPU_DISPATCH=SSE4_1;AVX2"

# Header-only libraries; /usr/include also has this host's system headers, which must not be used.
mkdir -p "$prefix/include" "$prefix/share/cmake"
cp -r /usr/include/CLI /usr/include/nlohmann /usr/include/toml++ "$prefix/include/"
cp -r /usr/share/cmake/CLI11 /usr/share/cmake/nlohmann_json "$prefix/share/cmake/"
# Debian's file names a library for this host; the headers are complete without it.
mkdir "$prefix/share/cmake/tomlplusplus"
cat >"$prefix/share/cmake/tomlplusplus/tomlplusplusConfig.cmake" <<'END'
if(NOT TARGET tomlplusplus::tomlplusplus)
  add_library(tomlplusplus::tomlplusplus INTERFACE IMPORTED)
  set_target_properties(tomlplusplus::tomlplusplus PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${CMAKE_CURRENT_LIST_DIR}/../../../include")
endif()
END
for package in libcli11-dev nlohmann-json3-dev libtomlplusplus-dev libz-mingw-w64-dev; do
  install -D -m 644 "/usr/share/doc/$package/copyright" "$prefix/share/doc/$package/copyright"
done

printf "%s\n" "${fetched[@]}" >"$prefix/complete"
echo "$prefix"
