# Sourced by the deps scripts: install_missing PACKAGE... installs, through apt-get, those of the
# Debian packages that are not installed yet (with sudo when not root).
install_missing() {
  local missing=() p sudo=""
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  echo "Installing: ${missing[*]}"
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}
