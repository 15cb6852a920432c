# Sourced by the Windows tests' scripts. wine_run runs a program under Wine ($wine), again when
# Wine could not start it (it says so, now and then, on a busy machine): its standard output,
# line ends made Unix's, and its exit status.
wine_run() {
  local out status attempt
  for attempt in 1 2 3 4 5; do
    status=0
    out=$("$wine" "$@" 2>&1 | tr -d '\r') || status=$?
    case "$out" in
      *"could not be started"*|*"ShellExecuteEx failed"*) sleep 1 ;;
      *) [ -z "$out" ] || printf '%s\n' "$out"; return "$status" ;;
    esac
  done
  echo "Wine could not start $1" >&2
  return 127
}
