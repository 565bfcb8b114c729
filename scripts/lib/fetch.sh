# Fetches sources from the Debian archive that this machine already uses. Sourced, never run.
# shellcheck shell=bash

# fetch PATH SHA256 FILE: with the archive's own client, so that the machine's proxies, certificates
# and logins hold.
fetch() {
  local archive archives
  # $(...) is apt's own notation.
  # shellcheck disable=SC2016
  archives=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' |
    sort --unique)
  while read -r archive; do
    if /usr/lib/apt/apt-helper download-file "$archive$1" "$3" "SHA256:$2" &&
      sha256sum --check --status <<<"$2  $3"; then
      return 0
    fi
    rm -f "$3"
  done <<<"$archives"
  echo "none of this machine's Debian archives has $1 with the expected SHA-256" >&2
  return 1
}
