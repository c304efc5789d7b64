#!/bin/bash
# The browser extension's identity and archive:
#   tools/extension.sh key FILE   creates a new identity: the private key goes to FILE, the public one into the tree
#   tools/extension.sh zip FILE   creates the archive for an extension store
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

case ${1:-} in
  key)
    [[ -n ${2:-} && ! -e $2 ]] || { echo "tools/extension.sh key FILE: FILE must not exist yet." >&2; exit 2; }
    (umask 077 && openssl genrsa -out "$2" 2048 2>/dev/null)
    public=$(openssl rsa -in "$2" -pubout -outform DER 2>/dev/null | base64 -w0)
    identifier=$(base64 -d <<<"$public" | sha256sum | cut -c1-32 | tr 0-9a-f a-p)
    sed -i "s#\"key\": \"[^\"]*\"#\"key\": \"$public\"#" Extension/manifest.json
    echo "chrome-extension://$identifier/" >packaging/extension-origin.txt
    cat packaging/extension-origin.txt
    ;;
  zip)
    [[ -n ${2:-} ]] || { echo "tools/extension.sh zip FILE" >&2; exit 2; }
    python3 - "$2" <<'PYTHON'
import json, sys, zipfile
from pathlib import Path
root = Path("Extension")
manifest = json.loads((root / "manifest.json").read_text())
del manifest["key"]
with zipfile.ZipFile(sys.argv[1], "w", zipfile.ZIP_DEFLATED) as archive:
    for file in sorted(path for path in root.rglob("*") if path.is_file()):
        name = file.relative_to(root).as_posix()
        content = json.dumps(manifest, ensure_ascii=False, indent=2).encode() if name == "manifest.json" else file.read_bytes()
        archive.writestr(zipfile.ZipInfo(name, (2020, 1, 1, 0, 0, 0)), content, zipfile.ZIP_DEFLATED)
PYTHON
    ;;
  *) sed -n '2,/^set/s/^# \?//p' "$0"; exit 2 ;;
esac
