#!/usr/bin/env python3
"""What the documents show is so: C, C++ and Rust stand in an example or a test, which are compiled and run, or in a
header; commands are run and write what is shown ("..." in a line of its own stands for anything); JSON of a
message is read and encoded; what is typed into Python is answered as it is shown.
Usage: blocks.py ROOT HEADERS BINARIES..."""
import doctest
import glob
import json
import os
import re
import subprocess
import sys
import tempfile

ROOT, HEADERS = sys.argv[1:3]
BINARIES = [folder for folder in sys.argv[3:] if os.path.isdir(folder)]
NEEDED = {"tshark": "tshark", "text2pcap": "tshark", "jq": "jq", "velnor3gpp": "the program", "sqlite3": "sqlite3",
          "parallel": "parallel"}


def plain(code):
    """Code without comments, exports and layout."""
    code = re.sub(r"/\*.*?\*/|//[^\n]*", "", code, flags=re.S).replace("VELNOR_API ", "")
    return " ".join(code.split())


def compiled():
    paths = [f"{HEADERS}/velnor3gpp/*.h", f"{ROOT}/include/velnor3gpp/*.h", f"{ROOT}/examples/*.[cr]*", f"{ROOT}/tests/*/*.cpp"]
    return {path: plain(open(path).read()) for pattern in paths for path in glob.glob(pattern)}


def documents():
    yield from sorted(glob.glob(f"{ROOT}/*.md") + glob.glob(f"{ROOT}/docs/**/*.md", recursive=True) +
                      glob.glob(f"{ROOT}/examples/*.md") + glob.glob(f"{ROOT}/editors/*.md") + glob.glob(f"{ROOT}/fuzz/*.md"))


def has(program):
    folders = BINARIES + os.environ["PATH"].split(":")
    return any(os.access(os.path.join(folder, program), os.X_OK) for folder in folders)


def commands(block):
    """Each command with the lines that it is said to write."""
    for part in re.split(r"^\$ ", block, flags=re.M)[1:]:
        command, _, output = part.partition("\n")
        yield command, output


def run(block):
    """What is wrong with a session in a shell, or None."""
    with tempfile.TemporaryDirectory() as folder:
        for binaries in BINARIES:
            for program in os.listdir(binaries):
                os.symlink(os.path.join(binaries, program), os.path.join(folder, program))
        environment = dict(os.environ, PATH=folder + ":" + os.environ["PATH"], HOME=folder,
                           LD_LIBRARY_PATH=os.environ.get("VELNOR3GPP_SQLITE", ""))
        for command, output in commands(block):
            for program, package in NEEDED.items():
                if re.search(rf"(^|\| *){program} ", command) and not has(program):
                    print(f"passed over (install {package}): {command}")
                    return None
            if "mod_velnor3gpp" in block and "VELNOR3GPP_SQLITE" not in os.environ:
                print(f"passed over (install libsqlite3-dev): {command}")
                return None
            done = subprocess.run(["bash", "-c", command], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, timeout=60)
            shown = ".*".join(re.escape(piece) for piece in re.split(r"^\.\.\.\n", output, flags=re.M))
            if not re.fullmatch(shown, done.stdout, re.S):
                return f"$ {command}\nwrites:\n{done.stdout}"
    return None


def wrong_json(block):
    """What is wrong with JSON, or None: a message is read, and encoded to the octets that it says."""
    try:
        message = json.loads(block)
    except ValueError as error:
        return str(error)
    reader = [path for path in (os.path.join(folder, "octets") for folder in BINARIES) if os.path.exists(path)]
    if "record" not in message or not reader:
        return None
    done = subprocess.run(reader[:1], input=block, stdout=subprocess.PIPE, text=True, timeout=60)
    same = done.returncode == 0 and done.stdout.strip() == message.get("octets", done.stdout.strip())
    return None if same else f"reads as: {done.stdout}"


def wrong_python(block):
    """What is wrong with a session in Python, or None. Names last from block to block."""
    if "VELNOR3GPP_LIBRARIES" not in os.environ:
        print("passed over (there are no shared libraries): Python")
        return None
    said = []
    os.chdir(ROOT)
    test = doctest.DocTestParser().get_doctest(block, PYTHON, "block", None, 0)
    doctest.DocTestRunner(verbose=False).run(test, out=said.append, clear_globs=False)
    PYTHON.update(test.globs)
    return "".join(said) or None


def fault(kind, block, sources):
    if kind in ("c", "cpp", "rust"):
        for part in block.split("\n\n"):  # declarations that stand apart in a header
            if not any(plain(part) in text for text in sources.values()):
                return "stands in no example, test or header"
        return None
    if kind == "console":
        return run(block)
    if kind == "json":
        return wrong_json(block)
    if kind == "python":
        return wrong_python(block)
    return f"a block of a kind that is not tested: '{kind}'"


SOURCES = compiled()
PYTHON = {}
count, faults = 0, 0
for path in documents():
    for block in re.finditer(r"^```(\w*)\n(.*?)^```$", open(path).read(), re.M | re.S):
        count += 1
        wrong = fault(block.group(1), block.group(2), SOURCES)
        if wrong:
            faults += 1
            print(f"{os.path.relpath(path, ROOT)}: {wrong}\n{block.group(2)}")
print(f"{count} blocks, {faults} faults")
sys.exit(1 if faults or count < 20 else 0)
