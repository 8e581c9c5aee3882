#!/usr/bin/env python3
"""Holds the property lists of the macOS bundle, which no compiler reads, against the code that relies on them.
usage: check_bundle.py ROOT"""
import pathlib
import plistlib
import re
import sys

root = pathlib.Path(sys.argv[1])
wrong = []


def expect(holds, what):
    if not holds:
        wrong.append(what)


def plist(name):
    text = (root / "packaging/macos" / name).read_text(encoding="utf-8")
    return plistlib.loads(re.sub(r"\$\{(\w+)\}", r"\1", text).encode())


names = (root / "src/platform/mac/mac_names.h").read_text(encoding="utf-8")
identifier = re.search(r'subsystem = "([^"]+)"', names)[1]
restricted = {re.search(rf'{name} =\s*@"([^"]+)"', names)[1]
              for name in ("keychainAccessGroups", "applicationIdentifier", "teamIdentifier", "appleSignIn")}
programs = re.findall(r"add_executable\((\S+)", (root / "src/app/CMakeLists.txt").read_text(encoding="utf-8"))

info = plist("Info.plist.in")
expect(info["CFBundleIdentifier"] == identifier, "the bundle's identifier is not the code's")
expect(info["CFBundleExecutable"] in programs, "no program of that name is built")
for key in ("LSUIElement", "LSMultipleInstancesProhibited", "NSCameraUseContinuityCameraDeviceType"):
    expect(info.get(key) is True, f"{key} must be set")
distribution = re.search(r'distribution = @"([^"]+)"', names)[1]
expect(info.get(distribution) == "BRINDLE_DISTRIBUTION", "without its distribution the alarm leaves the volume alone")
expect(info.get("NSCameraUsageDescription"), "without a camera text the system ends the process")
scheme = re.search(r'appScheme = "([^"]+)"', (root / "src/service/email_sign_in.h").read_text(encoding="utf-8"))[1]
expect([scheme] == [each for kind in info["CFBundleURLTypes"] for each in kind["CFBundleURLSchemes"]],
       "the links in sign-in mails open something else")
expect(not any("Termination" in key for key in info), "a quit would not always ask")

camera = "com.apple.security.device.camera"
expect(plist("Brindle-dev.entitlements") == {camera: True}, "a claim that no profile backs kills the process")
direct = plist("Brindle-direct.entitlements.in")
push = "com.apple.developer.aps-environment"
expect(set(direct) == restricted | {camera, push}, "the release's entitlements are not those that the code looks for")
expect(direct[push] == "production", "a release hears from Apple's production servers only")
print("\n".join(wrong) or "the bundle's lists agree with the code")
sys.exit(1 if wrong else 0)
