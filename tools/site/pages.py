#!/usr/bin/env python3
"""Lays out the pages of the site: the Markdown of the repository at the places where it stands there, so that its links
hold, and beside it a page for each message and each module of elements, made of what the library says of its types.
Usage: pages.py ROOT FACTS OUTPUT [C-INTERFACE]"""
import collections
import glob
import json
import os
import re
import shutil
import sys

ROOT, FACTS, OUTPUT = sys.argv[1:4]
C_INTERFACE = sys.argv[4] if len(sys.argv) > 4 else ""
HEADER = "| Element | Content | There |\n|---|---|---|\n"
WORDS = {"up": "from the mobile", "down": "from the network", "": "either side"}

types, samples = {}, collections.defaultdict(list)
for line in open(FACTS):
    fact = json.loads(line)
    if "sample" in fact:
        samples[fact["form"], fact["sample"]].append(fact)
    else:
        types[fact["name"]] = fact


def write(path, text):
    path = os.path.join(OUTPUT, path)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w") as file:
        file.write(text)


def copy_documents():
    """Markdown and all that it links to inside the repository; a folder that is linked to is its README."""
    link = re.compile(r"\]\(([^)#\s]+)")
    todo = [os.path.relpath(path, ROOT) for path in glob.glob(f"{ROOT}/*.md") + glob.glob(f"{ROOT}/docs/**/*.md", recursive=True)]
    done = set()
    while todo:
        path = todo.pop()
        if path in done or not os.path.isfile(os.path.join(ROOT, path)):
            continue
        done.add(path)
        target = os.path.join(OUTPUT, path)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copyfile(os.path.join(ROOT, path), target)
        if path.endswith(".md"):
            for found in link.findall(open(target).read()):
                if ":" not in found:
                    todo.append(os.path.normpath(os.path.join(os.path.dirname(path), found)))
    return done


def definitions():
    """The block of each type as its definition file has it, by full name."""
    blocks = {}
    for path in sorted(glob.glob(f"{ROOT}/src/*.l3")):
        text = open(path).read()
        module = re.search(r"^module\s+(\w+)", text, re.M).group(1)
        for block in re.finditer(r"^(?!module|#)[a-z]+ +(\w+).*\n(?:[ \t]+\S.*\n)*", text, re.M):
            blocks[f"{module}_{block.group(1)}"] = (block.group(0), os.path.basename(path))
    return blocks


BLOCKS = definitions()


def cell(text):
    return text.replace("|", "\\|")


def link_to(name, up):
    fact = types[name]
    if fact["use"] == "message":
        return f"[{fact['shortName']}]({up}messages/{name}.md)"
    return f"[{fact['shortName']}]({up}elements/{fact['module']}.md#{name.lower()})"


def content(member, up):
    kind, width = member["kind"], member["width"]
    least, most = member.get("least"), member.get("most")
    bounds = "" if most is None else str(most) if least == most else f"{least} to {most}"
    if "type" in member:
        return link_to(member["type"], up)
    if kind in ("number", "enumerated"):
        return f"{kind}, {width} bits"
    if kind == "list":
        return f"list, {bounds} entries" if bounds else "list"
    if kind in ("octets", "bits", "text"):
        unit = "characters" if kind == "text" else kind
        return f"{bounds} {unit}" if bounds else unit
    return "no content" if kind == "nothing" else kind


def table(fact, up):
    """The elements of a type, those inside others behind an indent; what building can leave out is said."""
    rows = ""
    for member in fact["members"]:
        if member["depth"] == 0 and member["kind"] in ("record", "choice"):
            continue
        name = "&emsp;" * max(member["depth"] - 1, 0) + (f"`{member['name']}`" if member["name"] else "entry" if member["depth"] else "value")
        there = "optional" if member.get("optional") else "filled in" if member.get("omissible") else ""
        rows += f"| {name} | {cell(content(member, up))} | {there} |\n"
    return HEADER + rows if rows else "It has no elements.\n"


def definition(name):
    if name not in BLOCKS:
        return ""
    block, file = BLOCKS[name]
    return f"\nAs `{file}` defines it ([the language](../docs/definition-language.md)):\n\n```l3\n{block.rstrip()}\n```\n"


def octets(text):
    pairs = [text[i : i + 2] for i in range(0, len(text), 2)]
    return "\n".join(" ".join(pairs[i : i + 32]) for i in range(0, len(pairs), 32))


def sample(fact):
    heading = "as short as it can be" if fact["minimal"] else "with every element"
    record = json.dumps({key: fact["json"][key] for key in ("type", "record")}, indent=1)
    return f"\n### A sample {heading}\n\n```text\n{octets(fact['json']['octets'])}\n```\n\n??? example \"as JSON\"\n\n" + \
        "    ```json\n" + "".join(f"    {line}\n" for line in record.splitlines()) + "    ```\n"


def messages():
    """Each message with the forms that have it: (form, name in the form, the name of its type or of itself)."""
    found = collections.OrderedDict()
    for form in types.values():
        if form["use"] != "form":
            continue
        inside = False
        for member in form["members"]:
            if member["depth"] == 1:
                inside = member["name"] == "data"
            elif member["depth"] == 2 and inside:
                own = member.get("type", "")
                page = own if types.get(own, {}).get("use") == "message" else f"{form['name']}_{member['name']}"
                found.setdefault(page, []).append((form["name"], member["name"], own))
    for fact in types.values():
        if fact["use"] == "message":
            found.setdefault(fact["name"], [])
    return found


def message_page(page, places):
    fact = types.get(page)
    first = samples[places[0][:2]][0]["json"] if places else {}
    title = (fact or {}).get("title") or first.get("message") or page
    text = f"# {title}\n\n"
    if fact:
        number = f", message type 0x{fact['messageType']:02X}" if fact["messageType"] >= 0 else ""
        text += f"`{page}`: {fact['clause']}{number}; {WORDS[fact['direction']]}.\n\n{table(fact, '../')}{definition(page)}"
    else:
        own = places[0][2]
        text += f"The message `{places[0][1]}` of `{places[0][0]}` " + (f"is one element: {link_to(own, '../')}.\n" if own else "has no elements of its own.\n")
    for form, name, _ in places:
        text += f"\n## In {form}\n\nAs `data.{name}`.\n" + "".join(sample(one) for one in samples[form, name])
    write(f"messages/{page}.md", text)
    return title


def element_page(module, facts):
    text = f"# Elements of {module}\n\n"
    for fact in facts:
        title = f": {fact['title']}" if fact["title"] else ""
        text += f"## {fact['shortName']}{title} {{#{fact['name'].lower()}}}\n\n`{fact['name']}`: {fact['clause']}.\n\n{table(fact, '../')}\n"
    write(f"elements/{module}.md", text)


def main():
    shutil.rmtree(OUTPUT, ignore_errors=True)
    copied = copy_documents()
    modules = collections.defaultdict(list)
    for fact in types.values():
        if fact["use"] != "message":
            modules[fact["module"]].append(fact)
    found, groups = messages(), collections.defaultdict(list)
    for page, places in found.items():
        title = message_page(page, places)
        groups[(types.get(page) or types[places[0][0]])["module"]].append((title, page))
    for module, facts in modules.items():
        element_page(module, facts)
    index = f"# Messages\n\n{len(found)} messages, each with its elements, its clause and samples. The pages are made of what the library says of its types.\n"
    for module, pages in sorted(groups.items()):
        index += f"\n## {module}\n\n" + "".join(f"- [{title}]({page}.md)\n" for title, page in sorted(pages))
    write("messages/index.md", index + "\n## Elements\n\n" + "".join(f"- [{module}](../elements/{module}.md)\n" for module in sorted(modules)))
    interface = "# The C interface\n\nEach header opens with what it is for, who owns what, and what it never does; each function says what it returns.\n\n"
    if C_INTERFACE:
        shutil.copytree(C_INTERFACE, f"{OUTPUT}/c")
        interface += "[Headers, records and functions](c/files.html)\n"
    else:
        interface += "Doxygen was not there when this site was made; the comments of the headers say the same.\n"
    write("interface.md", interface)
    navigation = open(f"{ROOT}/tools/site/mkdocs.yml").read().splitlines(True)
    kept = [line for line in navigation if not (path := re.search(r": (docs/\S+\.md|\S+/README\.md)$", line.rstrip())) or path.group(1) in copied]
    write("../mkdocs.yml", "".join(kept))
    print(f"{len(copied)} documents, {len(found)} pages of messages, {len(modules)} of elements, {len(samples)} messages with samples")


main()
