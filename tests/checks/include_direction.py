#!/usr/bin/env python3
"""Fails on an include that points the wrong way: base -> platform/*.h -> logic -> ui -> app; only app and tests name a backend;
only ui and app include Qt; slow JSON headers stay in sources. usage: include_direction.py ROOT"""
import os, re, sys

root = sys.argv[1]
logic = {"core", "capture", "owner", "service", "triggers", "vault", "watch"}
backends = {"linux", "memory", "mac", "posix", "openssl"}
include = re.compile(r'^\s*#\s*(?:include|import)\s+(["<])([^">]+)[">]')
qt = re.compile(r"^Q[A-Z]|^Qt[A-Z]")

def room(path):
    """(layer, backend) of a path below src."""
    pieces = path.split("/")
    if pieces[0] == "platform" and len(pieces) > 2:
        return "backend", pieces[1]
    return pieces[0], None

def allowed(source, target, is_test):
    (layer, backend), (other, other_backend) = source, target
    if layer == "backend" and backend == "contract":
        return other in {"base", "platform", "testing"} or other == "backend" and other_backend == "contract"
    if is_test or layer == "testing":
        return True
    if layer == "base":
        return other == "base"
    if layer == "platform":
        return other in {"base", "platform"}
    if layer == "backend":
        return other in {"base", "platform"} or (other == "backend" and other_backend in {backend, "posix", "openssl"})
    if layer in logic:
        return other in {"base", "platform"} or other in logic and not (layer == "core" and other != "core")
    if layer == "ui":
        return other in {"base", "platform", "ui"} or other in logic
    return layer == "app" and other != "testing"

wrong = []
for folder, _, names in os.walk(os.path.join(root, "src")):
    for name in names:
        if not name.endswith((".h", ".cpp", ".mm")):
            continue
        path = os.path.relpath(os.path.join(folder, name), os.path.join(root, "src"))
        is_test = re.search(r"_test\.cpp$|_contract\.h$", name) is not None
        for number, line in enumerate(open(os.path.join(folder, name), encoding="utf-8"), 1):
            found = include.match(line)
            if not found:
                continue
            quoted, target = found.group(1) == '"', found.group(2)
            layer = room(path)[0]
            if not quoted and qt.match(target) and layer not in {"ui", "app"}:
                wrong.append(f"{path}:{number}: Qt belongs in ui and app: {target}")
            if quoted and "/" in target and os.path.exists(os.path.join(root, "src", target)):
                if not allowed(room(path), room(target), is_test):
                    wrong.append(f"{path}:{number}: {layer} must not include {target}")
            if name.endswith(".h") and (target == "boost/json.hpp" or target == "base/json_fields.h") and path != "base/json_fields.h":
                wrong.append(f"{path}:{number}: JSON headers belong in sources: {target}")
print("\n".join(wrong) or "all includes point the right way")
sys.exit(1 if wrong else 0)
