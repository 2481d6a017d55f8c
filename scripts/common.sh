# common.sh - what quickstart and runtests share: talking, packages, building.
#
# For bash with "set -euo pipefail"; the working directory is the repository.
# shellcheck shell=bash

# What it takes to build the panel and to run it on a Postfix.
# shellcheck disable=SC2034
readonly packages=(
  g++ cmake ninja-build pkg-config libsoci-dev libboost-dev libtomlplusplus-dev
  libcli11-dev nlohmann-json3-dev libspdlog-dev libidn2-dev libunistring-dev libgmime-3.0-dev
  postfix postfix-lmdb vacation
)

# What it takes to build the fuzz targets besides.
# shellcheck disable=SC2034
readonly fuzz_packages=(clang libclang-rt-14-dev)

# What it takes to build the Debian packages besides.
# shellcheck disable=SC2034
readonly packaging_packages=(debhelper dpkg-dev)

# The heading of a step.
step() {
  printf '\n== %s\n' "$*"
}

note() {
  printf '   %s\n' "$*"
}

fail() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

is_installed() {
  [[ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" == installed ]]
}

# What starts PostgreSQL servers starts its own; no other one is to run because of it.
keep_postgresql_idle() {
  local settings=/etc/postgresql-common/createcluster.conf
  if ((EUID != 0)) || is_installed postgresql-common || [[ -e "$settings" ]]; then return; fi
  mkdir -p "${settings%/*}"
  echo 'create_main_cluster = false' >"$settings"
}

# Installs those of the packages that are missing. What is installed stays as it is.
need_packages() {
  local package missing=()
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  if ((${#missing[@]} == 0)); then
    note "All $# packages are installed."
    return
  fi
  if ((EUID != 0)); then
    fail "these packages are missing: ${missing[*]}
Run this as root, or install them first: apt-get install ${missing[*]}"
  fi
  note "Installing ${missing[*]}"
  install_packages "${missing[@]}"
}

install_packages() {
  local log removed
  log=$(mktemp)
  export DEBIAN_FRONTEND=noninteractive
  apt-get -q update >"$log" 2>&1 || note "The package lists could not all be fetched; going on."
  removed=$(apt-get -s --no-install-recommends install "$@" 2>/dev/null | sed -n 's/^Remv \([^ ]*\).*/\1/p')
  if [[ -n "$removed" ]]; then
    rm -f "$log"
    fail "installing $* would remove ${removed//$'\n'/ }; if that is right, do it by hand"
  fi
  # Postfix comes without a configuration, so that no mail server of this machine is set up.
  is_installed postfix ||
    debconf-set-selections <<<'postfix postfix/main_mailer_type select No configuration'
  if ! apt-get -q -y --no-install-recommends install "$@" >>"$log" 2>&1; then
    tail -n 30 "$log" >&2
    rm -f "$log"
    fail "apt-get could not install the packages; its last words are above"
  fi
  rm -f "$log"
}

# configure PRESET [CMAKE-OPTION...]
# What an earlier run left is used again, unless CMake cannot make anything of it.
configure() {
  local preset=$1 log
  shift
  log=$(mktemp)
  if cmake --preset "$preset" "$@" >"$log" 2>&1 ||
    cmake --fresh --preset "$preset" "$@" >"$log" 2>&1; then
    rm -f "$log"
    return
  fi
  cat "$log" >&2
  rm -f "$log"
  return 1
}

# build PRESET [TARGET...]: shows progress on a terminal; elsewhere only what went wrong.
build() {
  local preset=$1 log
  shift
  local command=(cmake --build --preset "$preset")
  (($# == 0)) || command+=(--target "$@")
  if [[ -t 1 ]]; then
    "${command[@]}"
    return
  fi
  log=$(mktemp)
  if "${command[@]}" >"$log" 2>&1; then
    rm -f "$log"
    return
  fi
  grep -v '^\[[0-9/]*\] Building' "$log" | tail -n 60 >&2
  rm -f "$log"
  return 1
}
