# What the scripts share. Sourced by them, from the root of the repository.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '\n==> %s\n' "$*"; }

# Installs those of the Debian packages that are not there.
need_packages() {
  local package missing=()
  for package in "$@"; do
    [[ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)" == installed ]] ||
      missing+=("$package")
  done
  if ((${#missing[@]} == 0)); then
    say "All packages are installed: $*"
    return
  fi
  say "Installing ${missing[*]}"
  local as_root=()
  if ((EUID != 0)); then
    command -v sudo >/dev/null || { echo "Run this as root, or install: ${missing[*]}" >&2; exit 1; }
    as_root=(sudo)
  fi
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q update
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -qy --no-install-recommends -o Dpkg::Use-Pty=0 install "${missing[@]}"
}

# Packages for the library and its program, and those for the tests beside them.
build_packages=(cmake ninja-build g++ libcli11-dev libpcap-dev)
test_packages=(ccache libgtest-dev libgmock-dev libbenchmark-dev tshark valgrind pkgconf
  clang libclang-rt-14-dev llvm clang-format libosmocore-dev python3-pytest python3-cffi chromium doxygen)
