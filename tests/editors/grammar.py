#!/usr/bin/env python3
"""The TextMate grammar over definition files: every word of every file has a scope that is no error, every word that
the generator knows is known, and what is no definition is an error. Usage: grammar.py ROOT"""
import glob
import json
import re
import sys

ROOT = sys.argv[1]
GRAMMAR = json.load(open(f"{ROOT}/editors/vscode/syntaxes/l3.tmLanguage.json"))


def rules(patterns):
    """The rules that an editor tries, in order, with what they include."""
    for rule in patterns:
        name = rule.get("include")
        rule = GRAMMAR["repository"][name[1:]] if name else rule
        if "match" in rule or "begin" in rule:
            yield rule
        else:
            yield from rules(rule["patterns"])


def paint(scopes, match, rule, captures):
    for at in range(match.start(), match.end()):
        scopes[at] = rule.get("name", scopes[at])
    for group, capture in rule.get(captures, {}).items():
        for at in range(*match.span(int(group))) if match.group(int(group)) else ():
            scopes[at] = capture["name"]


def scopes_of(line):
    """The innermost scope of each character, as an editor finds it: the first rule among those that match earliest."""
    scopes, at, patterns = [None] * len(line), 0, GRAMMAR["patterns"]
    while at < len(line):
        found = [(re.compile(rule.get("match") or rule["begin"]).search(line, at), rule) for rule in rules(patterns)]
        found = [(match, rule) for match, rule in found if match]
        if not found:
            break
        match, rule = min(found, key=lambda pair: pair[0].start())
        paint(scopes, match, rule, "captures" if "match" in rule else "beginCaptures")
        if "begin" in rule:  # all of them end with the line
            patterns = rule["patterns"]
        at = max(match.end(), at + 1)
    return scopes


def errors(text):
    """Words with an error, or without a scope, as (line, column, word, scope)."""
    for number, line in enumerate(text.splitlines(), 1):
        scopes = scopes_of(line)
        for word in re.finditer(r"\S+", line):
            for at in range(*word.span()):
                if scopes[at] is None or scopes[at].startswith("invalid"):
                    yield number, word.start() + 1, word.group(), scopes[at]
                    break


faults, words = 0, 0
for path in sorted(glob.glob(f"{ROOT}/src/*.l3") + glob.glob(f"{ROOT}/tests/l3gen/**/*.l3", recursive=True)):
    text = open(path).read()
    words += len(text.split())
    for number, column, word, scope in errors(text):
        faults += 1
        print(f"{path}:{number}:{column}: '{word}' has the scope {scope}")
known = re.search(r"kWords = \{(.*?)\};", open(f"{ROOT}/tools/l3gen/readWhat.cpp").read(), re.S).group(1)
for quirk in re.findall(r'"([a-z-]+)"', known):
    if list(errors(f"element A !{quirk} [1]")):
        faults += 1
        print(f"the quirk word !{quirk} is an error")
for wrong in open(f"{ROOT}/tests/editors/wrong.l3").read().splitlines():
    if not list(errors(wrong)):
        faults += 1
        print(f"no error in: {wrong}")
print(f"{words} words, {faults} faults")
sys.exit(1 if faults or words < 10000 else 0)
