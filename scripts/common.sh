# Sourced by the scripts beside it: where the repository is, and what all of them need.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root" || exit

# Prints the comment at the head of the calling script, which is its help, and ends.
usage() {
  sed -n '2,/^[^#]/{/^#/s/^# \{0,1\}//p}' "${BASH_SOURCE[1]}"
  exit "${1:-0}"
}

say() { printf '\n== %s\n' "$*"; }

die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

jobs=${TARNWELL_JOBS:-$(nproc)}

# A compiler cache makes a second build of the same sources nearly free; presets may share it. To be
# called when scripts/setup has run, which installs it.
use_compiler_cache() {
  if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
    export CCACHE_BASEDIR=$root
  fi
}

# Files of ours with the given extensions, as `git` knows them (tracked, or new and not ignored). A
# checkout may belong to somebody else: to whoever mounted it, where root runs this in a container.
our_files() { git -c safe.directory="$root" ls-files -co --exclude-standard -- "$@" | sort -u; }

# The version-14 tool where there is one: other versions format and warn differently.
tool14() {
  local name=$1
  if command -v "$name-14" >/dev/null; then
    echo "$name-14"
  elif command -v "$name" >/dev/null && "$name" --version | grep -q 'version 14\.'; then
    echo "$name"
  else
    die "$name of version 14 is needed; scripts/setup installs it"
  fi
}
