# What the tests share. They are about installed packages; QUORVA_ROOT is where these are unpacked, if not in the system.
set -euo pipefail
doc=${QUORVA_ROOT:-}/usr/share/doc/quorva-doc
if [[ -z ${AUTOPKGTEST_TMP:-} ]]; then
  AUTOPKGTEST_TMP=$(mktemp -d)
  trap 'rm -rf "$AUTOPKGTEST_TMP"' EXIT
fi
cd "$AUTOPKGTEST_TMP"
ln -sfn "$doc/examples" examples
