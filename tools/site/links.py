#!/usr/bin/env python3
"""Every link of a tree of Markdown, or of HTML, leads to a file that is there, and to a heading or name in it.
Usage: links.py FOLDER"""
import html.parser
import os
import re
import sys
import urllib.parse

FOLDER = sys.argv[1]
FENCE = re.compile(r"^ *```.*?^ *```", re.M | re.S)
CODE = re.compile(r"`[^`\n]*`")
LINK = re.compile(r"\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#+ (.*)$", re.M)


def slug(heading):
    own = re.search(r"\{#([\w.-]+)\}", heading)
    if own:
        return own.group(1)
    text = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", heading)
    return re.sub(r"[-\s]+", "-", re.sub(r"[^\w\s-]", "", text).strip().lower())


class Page(html.parser.HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.links, self.names = [], set()
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("href", "src") and value is not None:
                self.links.append(value)
            if name in ("id", "name") and value:
                self.names.add(value)


def read(path):
    text = open(path, errors="replace").read()
    if path.endswith(".html"):
        page = Page(text)
        return page.links, page.names
    text = FENCE.sub("", text)
    return LINK.findall(CODE.sub("", text)), {slug(heading) for heading in HEADING.findall(text)}


def pages():
    for folder, _, files in os.walk(FOLDER):
        for file in files:
            if file.endswith((".md", ".html")):
                yield os.path.join(folder, file)


known = {}
faults, links = 0, 0
for page in sorted(pages()):
    known[page] = read(page)
for page, (targets, _) in known.items():
    for target in targets:
        path, _, name = target.partition("#")
        path, name = urllib.parse.unquote(path).split("?")[0], urllib.parse.unquote(name)
        if re.match(r"[a-z]+:", target) or target.startswith("//"):
            continue
        links += 1
        aim = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
        if path.startswith("/"):
            continue  # the page for what is not found
        if os.path.isdir(aim):
            aim = os.path.join(aim, "index.html")
        if not os.path.isfile(aim):
            faults += 1
            print(f"{page}: {target} leads nowhere")
        elif name and aim in known and name not in known[aim][1]:
            faults += 1
            print(f"{page}: {target}: no such heading")
print(f"{len(known)} pages, {links} links, {faults} faults")
sys.exit(1 if faults or links < 100 else 0)
