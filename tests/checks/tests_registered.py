#!/usr/bin/env python3
"""Fails when a *_test.cpp is in no CMake list: it would compile nowhere and pass forever. usage: tests_registered.py ROOT"""
import os, re, sys

root = sys.argv[1]
listed = ""
sources = []
for folder, folders, names in os.walk(root):
    folders[:] = [f for f in folders if f not in {"build", ".git"}]
    for name in names:
        path = os.path.join(folder, name)
        if name == "CMakeLists.txt" or name.endswith(".cmake"):
            listed += "\n".join(line.split("#")[0] for line in open(path, encoding="utf-8"))
        elif name.endswith("_test.cpp"):
            sources.append(path)
missing = [os.path.relpath(s, root) for s in sources if not re.search(r"[\s/(\"]" + re.escape(os.path.basename(s)) + r"[\s)\"]", listed)]
print("\n".join(f"not registered: {m}" for m in missing) or f"{len(sources)} test files, all registered")
sys.exit(1 if missing else 0)
