# Runs Windows programs under Wine; the two runners and the set-up share it. Sourced, never run.
# shellcheck shell=bash
#
# wine_select x64|arm64 first; then wine_start, wine_run or wine_stop.

# What a runner exits with when this machine cannot run such programs.
readonly wine_cannot_run=121
# A server that nobody used for so many seconds ends by itself.
readonly wine_idle=300

wine_fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit "$wine_cannot_run"
}

wine_first_of() { # CANDIDATE...
  local candidate
  for candidate in "$@"; do
    if command -v "$candidate"; then
      return 0
    fi
  done
  return 1
}

wine_select() {
  local cache=${XDG_CACHE_HOME:-${HOME:?HOME is not set}/.cache}/cifra
  wine_arch=$1
  wine_common=$cache/wine-$wine_arch
  wine_state=${CIFRA_WINE_STATE:-$cache}/wine-$wine_arch
  wine_key=system # names the Wine that a prefix and its server belong to
  wine_through=() # the command that starts the loader
  case $wine_arch in
    x64)
      # Debian's /usr/bin/wine is a script that advises to install the 32-bit Wine; not taken.
      if ! wine_loader=$(wine_first_of /usr/lib/wine/wine64 wine64 wine) ||
        ! wine_server=$(wine_first_of /usr/lib/wine/wineserver64 wineserver); then
        wine_fail "no Wine here; scripts/setup wine-x64 installs it"
      fi
      # A newer kernel may put a program's heap where Wine 8 wants a page of its own; one start in
      # 7,700 then fails (docs/testing.md). Not randomised, the heap is well below. Some containers
      # do not allow that.
      if setarch --addr-no-randomize true 2>/dev/null; then
        wine_through=(setarch --addr-no-randomize)
      fi
      ;;
    arm64)
      local system=$cache/wine-arm64/system
      wine_loader=$system/usr/lib/aarch64-linux-gnu/wine64
      wine_server=$system/usr/lib/aarch64-linux-gnu/wineserver
      if [[ ! -x $wine_loader ]] || ! read -r wine_key <"$system/key"; then
        wine_fail "no Wine for ARM64 here; scripts/setup wine-arm64 makes it"
      fi
      # A processor with pointer authentication, so that what signs and checks return addresses runs.
      # Those that have branch target identification too hang.
      export QEMU_CPU=${QEMU_CPU:-neoverse-v1}
      ;;
  esac
  export WINEPREFIX=$wine_state/prefix
  export WINELOADER=$wine_loader WINESERVER=$wine_server
  export WINEDEBUG=${WINEDEBUG--all}
  # A crash ends the program; the debugger would print pages and may turn the exit code into 0.
  export WINEDLLOVERRIDES="winedbg.exe=d${WINEDLLOVERRIDES:+;$WINEDLLOVERRIDES}"
  # Wine takes the encoding of arguments and file names from the locale.
  case ${LC_ALL:-${LC_CTYPE:-${LANG:-}}} in
    *UTF-8 | *utf8) ;;
    *) export LC_ALL=C.UTF-8 ;;
  esac
  unset DISPLAY WAYLAND_DISPLAY
}

# wine_serving: whether the server that wine_start left behind still runs.
wine_serving() {
  local pid key command
  read -r pid key 2>/dev/null <"$wine_state/server.pid" && [[ $key == "$wine_key" ]] &&
    read -r -d '' command 2>/dev/null <"/proc/$pid/cmdline" &&
    [[ $command == *wineserver* || $command == *qemu-aarch64* ]]
}

wine_warm_up() {
  cd "$WINEPREFIX" &&
    WINEDLLOVERRIDES="winedbg.exe,winemenubuilder.exe,mscoree,mshtml=d" \
      "${wine_through[@]}" "$wine_loader" cmd.exe /c exit \
      </dev/null >>"$wine_state/start.log" 2>&1 8>&- 9>&-
}

# wine_forget: removes a prefix that another Wine made or that was not finished, and ends its server.
wine_forget() {
  wine_stop
  rm -rf "$WINEPREFIX"
}

# wine_copy_prefix: takes the prefix that another run made in the cache, where it is old enough for its
# server to have written everything, which it does every half a minute. Under emulation a new one takes
# ten seconds of both processors.
wine_copy_prefix() {
  [[ $(cat "$wine_common/made" 2>/dev/null) == "$wine_key" &&
    -n $(find "$wine_common/made" -mmin +1) ]] || return 0
  cp --archive "$wine_common/prefix" "$wine_state/" || rm -rf "$WINEPREFIX"
}

# wine_start: starts Wine's server and its services apart from the caller's streams, makes the
# prefix at the first use. A program that had to start them itself would hand them its standard
# output, and whoever reads that would wait for them too.
wine_start() {
  local attempts=0
  ! wine_serving || return 0
  mkdir -p "$wine_state"
  exec 8>"$wine_state/lock"
  flock 8
  if ! wine_serving; then
    if [[ $(cat "$wine_state/made" 2>/dev/null) != "$wine_key" ]]; then
      wine_forget
      wine_copy_prefix
    fi
    mkdir -p "$WINEPREFIX"
    : >"$wine_state/start.log"
    setsid "$wine_server" --foreground --persistent="$wine_idle" </dev/null >/dev/null 2>&1 8>&- 9>&- &
    printf '%s %s\n' "$!" "$wine_key" >"$wine_state/server.pid"
    # A program waits five minutes for Wine to make its prefix, which goes on behind it: on a machine
    # that is too busy for that, the next one may wait as long again.
    until (wine_warm_up); do
      if [[ $((++attempts)) -ge 3 ]]; then
        "$wine_server" --kill || true
        wine_fail "Wine for $wine_arch does not start here; see $wine_state/start.log"
      fi
    done
    printf '%s\n' "$wine_key" >"$wine_state/made"
  fi
  exec 8>&-
}

# wine_stop: ends the server and all that runs in it.
wine_stop() {
  [[ -d $WINEPREFIX ]] || return 0
  "$wine_server" --kill >/dev/null 2>&1 || true
  rm -f "$wine_state/server.pid"
}

# wine_run PROGRAM ARGUMENT...: runs it and exits with the low byte of its exit code, all that this
# system has of it. Bytes of codes that end a program without a word are explained; the program may
# have chosen the same one itself, so it is passed on. Of a crash Wine tells by itself.
wine_run() {
  local code=0
  # Who ends this script ends the program.
  setpriv --pdeathsig KILL "${wine_through[@]}" "$wine_loader" "$@" || code=$?
  case $code in
    9) wine_explain "$code" "0xC0000409, which is fail-fast or a damaged stack" ;;
    53) wine_explain "$code" "0xC0000135, a DLL that is missing; WINEDEBUG=err+module names it" ;;
  esac
  exit "$code"
}

wine_explain() { # CODE MEANING
  printf '%s: ended with %s; unless the program chose it: %s\n' "${0##*/}" "$1" "$2" >&2
}

wine_help() {
  cat <<HELP
Usage: ${0##*/} PROGRAM ARGUMENT...   runs a Windows program; exits with its code's low byte
       ${0##*/} --start | --stop      starts or ends Wine's server ahead of time
       ${0##*/} --prefix              tells the folder of Wine's drives, made if need be

Exits with $wine_cannot_run, and a line on standard error, when this machine cannot run such programs or
there is no such program. An exit code of 9 or 53 is explained on standard error. The program sees the machine's
files as Z:\\ and gets the caller's folder, environment and streams; WINEDLLOVERRIDES and WINEDEBUG
are taken from the caller. CIFRA_WINE_STATE=DIRECTORY moves Wine's own files out of the cache.
HELP
}

wine_main() { # ARCHITECTURE ARGUMENT...
  case ${2:-} in
    '') wine_help >&2; exit 2 ;;
    --help) wine_help; exit ;;
  esac
  wine_select "$1"
  shift
  case $1 in
    --start) wine_start ;;
    --stop) wine_stop ;;
    --prefix)
      wine_start
      printf '%s\n' "$WINEPREFIX"
      ;;
    *)
      [[ $1 != */* || -f $1 ]] || wine_fail "$1: no such program"
      wine_start
      wine_run "$@"
      ;;
  esac
}
