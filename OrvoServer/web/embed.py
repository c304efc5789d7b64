"""Writes the C++ file with the embedded web pages: embed.py OUTPUT FILE...

The output depends only on the contents of the files. Strips comments and indentation from our own files, which saves viewers a
tenth of the download.
"""

import gzip
import hashlib
import re
import sys
from pathlib import Path

TYPES = {".css": "text/css; charset=utf-8", ".html": "text/html; charset=utf-8", ".js": "text/javascript; charset=utf-8",
         ".txt": "text/plain; charset=utf-8"}
LINE = 4096  # Bytes per literal; the compiler joins adjacent ones.


def squeezed(name, data):
    """Returns a script or style without comments and indentation. Scripts must not contain multi-line template literals."""
    text = data.decode()
    if name.endswith(".js") and not name.endswith(".min.js"):
        text = re.sub(r"^\s*/\*.*?\*/\s*?\n|^\s*//[^\n]*\n", "", text, flags=re.S | re.M)
        text = re.sub(r" // [^\n\"'`]*$", "", text, flags=re.M)
        text = re.sub(r"^[ \t]+|[ \t]+$", "", text, flags=re.M)
        return re.sub(r"\n+", "\n", text).encode()
    if name.endswith(".css"):
        text = re.sub(r"\s+", " ", re.sub(r"/\*.*?\*/", "", text, flags=re.S))
        return re.sub(r" ?([{};,]) ?", r"\1", text).encode()
    return data


def literal(data):
    """Returns the bytes as a C++ literal of type std::string_view."""
    if not data:
        return "{}"
    # Always three digits, so that a following digit is not part of the escape. "?" could start a trigraph.
    escaped = ["".join(chr(byte) if 32 <= byte < 127 and byte not in b'"\\?' else f"\\{byte:03o}" for byte in data[at:at + LINE])
               for at in range(0, len(data), LINE)]
    lines = "\n".join(f'            "{line}"' for line in escaped)
    return f"std::string_view(\n{lines},\n            {len(data)})"


def main():
    output, *names = sys.argv[1:]
    files = sorted((Path(name).name, squeezed(Path(name).name, Path(name).read_bytes())) for name in names)
    digest = hashlib.sha256()
    for name, data in files:
        digest.update(f"{name}\0{len(data)}\0".encode() + data)
    hash_ = digest.hexdigest()[:16]
    entries = []
    for name, data in files:
        packed = gzip.compress(data, 9, mtime=0)
        packed = packed if len(packed) < len(data) else b""
        entries.append(f'        {{"{name}", "{TYPES[Path(name).suffix]}",\n        {literal(data)},\n        {literal(packed)},\n'
                       f'        "{hash_}"}},\n')
    Path(output).write_text(
        '// Written by embed.py.\n#include "OrvoServer/web/Assets.h"\n\n#include <array>\n\nnamespace orvo::server {\n\n'
        "std::span<const Asset> assets()\n{\n"
        f"    static constexpr std::array<Asset, {len(files)}> all {{{{\n{''.join(entries)}    }}}};\n    return all;\n}}\n\n"
        "} // namespace orvo::server\n")


if __name__ == "__main__":
    main()
