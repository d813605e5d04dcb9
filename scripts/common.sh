# Sourced by the other scripts: it turns to the top of the tree and brings what they share.
# shellcheck shell=bash

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

missing_packages=()

# A compiler cache is used where there is one.
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

say() { printf '\n== %s\n' "$*"; }

die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# need_program PROGRAM PACKAGE: notes the package unless the program is there.
need_program() { command -v "$1" >/dev/null || missing_packages+=("$2"); }

# need_header HEADER PACKAGE: notes the package unless the compiler finds the header.
need_header() {
  printf '#include <%s>\n' "$1" | c++ -std=c++20 -fsyntax-only -x c++ - 2>/dev/null ||
    missing_packages+=("$2")
}

# need_python_module MODULE PACKAGE: notes the package unless Python finds the module.
need_python_module() { python3 -c "import $1" 2>/dev/null || missing_packages+=("$2"); }

# need_file FILE PACKAGE: notes the package unless the file is there.
need_file() { [ -e "$1" ] || missing_packages+=("$2"); }

need_toolchain() {
  need_program c++ g++
  need_program cmake cmake
  need_program ninja ninja-build
}

# Installs the packages noted, if any. Says what it does.
install_missing() {
  [ ${#missing_packages[@]} -gt 0 ] || return 0
  command -v apt-get >/dev/null ||
    die "please install what these Debian packages hold, then start again: ${missing_packages[*]}"
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || die "please install these packages as root: ${missing_packages[*]}"
    as_root=(sudo)
  fi
  say "Installing with apt-get: ${missing_packages[*]}"
  "${as_root[@]}" apt-get -qq update </dev/null
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends \
    "${missing_packages[@]}" </dev/null
}

# configure PRESET [OPTION...]
configure() {
  local version
  version=$(cmake --version | sed -n '1s/[^0-9]*//p')
  [ "$(printf '3.22\n%s\n' "$version" | sort -V | head -n 1)" = 3.22 ] ||
    die "CMake 3.22 is needed, and this is $version; Debian 12 and Ubuntu 22.04 have it"
  cmake --preset "$@"
}

# The C++ files of the project.
cxx_files() {
  find velmora tools tests examples bench fuzz viewer -name '*.h' -o -name '*.cpp' | sort
}
