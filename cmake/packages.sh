# Sourced by ./demo and ./check.

# need_packages NAME... : sees to it that these Debian packages are installed. As root it installs
# what is missing; for anybody else it prints the line that would, and ends the script. Where there
# is no dpkg it leaves the question to the build.
need_packages() {
  command -v dpkg-query >/dev/null || return 0
  local package missing=() log
  for package in "$@"; do
    dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null | grep -q '^.i' ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0

  if [ "$(id -u)" -ne 0 ]; then
    echo "Packages are missing. To install them:" >&2
    echo "  sudo apt-get install -y ${missing[*]}" >&2
    exit 1
  fi
  echo "Installing ${missing[*]}"
  log=$(mktemp)
  export DEBIAN_FRONTEND=noninteractive
  # A stale package list may still have everything, so only the install itself must succeed.
  apt-get update </dev/null >"$log" 2>&1
  if ! apt-get install -y --no-install-recommends -o DPkg::Lock::Timeout=300 \
      "${missing[@]}" </dev/null >>"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    echo "Installing ${missing[*]} failed; what apt-get said is above." >&2
    exit 1
  fi
  rm -f "$log"
}

# logged FILE COMMAND... : runs the command with its output in FILE, and shows FILE if it fails.
logged() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" </dev/null >"$log" 2>&1 && return
  local status=$?
  cat "$log" >&2
  echo "That failed: $1; its output is kept in $log" >&2
  return $status
}
