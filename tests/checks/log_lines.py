#!/usr/bin/env python3
"""Holds the log lines in the sources against docs/log-lines.txt, so that a changed line shows up in review.
usage: log_lines.py ROOT [--write]"""
import os, re, sys

root = sys.argv[1]
call = re.compile(r'\bnotice\(\s*((?:"(?:[^"\\]|\\.)*"\s*)+)', re.S)
literal = re.compile(r'"((?:[^"\\]|\\.)*)"')
lines = set()
for folder, _, names in os.walk(os.path.join(root, "src")):
    if "/testing" in folder:
        continue
    for name in names:
        if name.endswith((".h", ".cpp", ".mm")) and not name.endswith("_test.cpp"):
            text = open(os.path.join(folder, name), encoding="utf-8").read()
            for found in call.finditer(text):
                lines.add("".join(literal.findall(found.group(1))).replace('\\"', '"').replace("\\\\", "\\"))
place = os.path.join(root, "docs", "log-lines.txt")
if "--write" in sys.argv:
    open(place, "w", encoding="utf-8").write("\n".join(sorted(lines)) + "\n")
listed = set(open(place, encoding="utf-8").read().splitlines())
for line in sorted(lines - listed):
    print("not in docs/log-lines.txt:", line)
for line in sorted(listed - lines):
    print("in docs/log-lines.txt but nowhere in the sources:", line)
print(f"{len(lines)} log lines")
sys.exit(0 if lines == listed else 1)
