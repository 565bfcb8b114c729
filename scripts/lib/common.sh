# What the scripts share. Sourced, never run.
# shellcheck disable=SC2034
# shellcheck shell=bash

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cache=${XDG_CACHE_HOME:-${HOME:?HOME is not set}/.cache}/cifra
toolchain=$cache/toolchain
logs=$cache/log

say() { printf '%s\n' "$*"; }

die() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

have() { command -v "$1" >/dev/null 2>&1; }

as_root() {
  if [[ $(id -u) -eq 0 ]]; then
    "$@"
  elif have sudo; then
    sudo "$@"
  else
    die "needs root or sudo for: $*"
  fi
}

# step LABEL COMMAND...: runs a command that may take long, tells how long it took, keeps its
# output in a log and shows the log's end only when the command fails. The command is a program
# (or as_root and a program), not a longer function: Bash ignores the failures inside a function
# that is called from a condition.
step() {
  local label=$1 start=$SECONDS
  local log=$logs/${label//[^A-Za-z0-9]/-}.log
  shift
  mkdir -p "$logs"
  say "-- $label ..."
  if ! "$@" >"$log" 2>&1 </dev/null; then
    tail -n 40 "$log" >&2
    die "$label failed after $((SECONDS - start)) s; the whole log: $log"
  fi
  say "-- $label: $((SECONDS - start)) s"
}

# only_one NAME: waits until no other script holds the lock of this name. It is held until this
# script ends; a server that outlives the script must be started with 9>&-.
only_one() {
  mkdir -p "$cache"
  exec 9>"$cache/$1.lock"
  if ! flock --nonblock 9; then
    say "-- waiting for another run of $1 to end ..."
    flock 9
  fi
}

apt=(env DEBIAN_FRONTEND=noninteractive apt-get --yes --no-install-recommends
  -o Acquire::Retries=3 -o DPkg::Lock::Timeout=600 -o Dpkg::Use-Pty=0)

package_index_read=
read_package_index() {
  [[ -z $package_index_read ]] || return 0
  step "read the package index" as_root "${apt[@]}" update
  package_index_read=yes
}

# apt_install PACKAGE...: installs what is missing; asks for a new package index only then.
apt_install() {
  local package missing=()
  for package in "$@"; do
    [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
      missing+=("$package")
  done
  [[ ${#missing[@]} -gt 0 ]] || return 0
  have apt-get || die "not a Debian system; install what stands for: ${missing[*]}"
  read_package_index
  say "-- missing: ${missing[*]}"
  step "install ${#missing[@]} packages" as_root "${apt[@]}" install "${missing[@]}"
}
