# Steps that the scripts of tools/, bench/ and tests/ share. To be sourced, in the project's root:
#     . tools/lib/steps.sh

# Runs a command and shows what it printed only when it fails.
quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 || status=$?
  [ "$status" = 0 ] || cat "$log" >&2
  rm -f "$log"
  return "$status"
}

# build_windows TARGET...: builds these of the preset windows, or in $TAVLO_BUILD.
build_windows() {
  local build=${TAVLO_BUILD:-build/windows}
  [ -e "$build/build.ninja" ] || quietly cmake --preset windows
  quietly cmake --build "$build" --parallel "$(nproc)" --target "$@"
}

wine_server() { WINEPREFIX=$TAVLO_WINEPREFIX wineserver "$@"; }

# start_wine PREFIX: starts Wine in a prefix below build/, which is made when it is missing. Its
# server stays until stop_wine, and is started when the one that made the prefix has gone. The
# first program starts Wine's services, which keep its output open, so that no program that
# somebody reads may be the first; the service behind marshaling starts badly for two programs at
# once, so it is started here, too.
start_wine() {
  export TAVLO_WINEPREFIX=$PWD/build/$1
  stop_wine
  tools/wine cmd /c exit
  wine_server -w
  wine_server -p
  tools/wine net start RpcSs </dev/null >/dev/null 2>&1 || true
}

stop_wine() { [ ! -e "${TAVLO_WINEPREFIX:-}" ] || wine_server -k || true; }
