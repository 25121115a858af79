#!/usr/bin/env python3
"""embed.py PAGE-FOLDER ENGINE.wasm OUT.html: makes one file of the page, its style, its modules and the library.

A page that is opened as a file cannot import modules, so that these are laid one behind the other, in the order of
their imports, without the words import and export. The policy of the page allows these very texts and no others.
"""
import base64
import gzip
import hashlib
import pathlib
import re
import sys

IMPORT = re.compile(r'^import \{[^}]*\} from "\./(\w+)\.js";\n', re.M)


def joined(folder, name, seen):
    if name in seen:
        return ""
    seen.add(name)
    text = (folder / (name + ".js")).read_text()
    before = "".join(joined(folder, other, seen) for other in IMPORT.findall(text))
    return before + re.sub(r"^export ", "", IMPORT.sub("", text), flags=re.M)


def digest(text):
    return "'sha256-" + base64.b64encode(hashlib.sha256(text.encode()).digest()).decode() + "'"


def main(folder, engine, out):
    folder = pathlib.Path(folder)
    script = joined(folder, "main", set())
    style = (folder / "page.css").read_text()
    assert "</script" not in script and "</style" not in style
    # Written the same at each build: no time and no name in the header.
    packed = gzip.compress(pathlib.Path(engine).read_bytes(), 9, mtime=0)
    policy = ("default-src 'none'; script-src 'wasm-unsafe-eval' " + digest(script) + "; style-src " + digest(style) +
              "; img-src data:; base-uri 'none'; form-action 'none'")
    parts = {"POLICY": policy, "STYLE": style, "ENGINE": base64.b64encode(packed).decode(), "SCRIPT": script}
    page = re.sub("@([A-Z]+)@", lambda found: parts[found[1]], (folder / "page.html").read_text())
    pathlib.Path(out).write_text(page)


main(*sys.argv[1:])
