#!/usr/bin/env python3
"""Compares what Mach-O objects need from outside with a reviewed list.

usage: check_symbols.py LIST OBJECT …

LIST has one "framework symbol" a line. Reported are symbols that nobody reviewed (a function of
another system, a misspelt class, one of our own functions that is defined nowhere) and reviewed
ones that nothing needs any more. It does not prove that Apple exports a symbol.
"""
import re
import subprocess
import sys

# The C++ library and runtime come with the compiler; the libraries with their own headers.
GIVEN = re.compile(
    r"__ZN?K?St|__ZT[ITVS]N?K?St|__Zn[aw]|__Zd[al]|__ZTVN10__cxxabiv|___cxa_|___gxx_|__Unwind_"
    r"|___clang_call|___isPlatformVersionAtLeast|___(u?div|umod|mod)ti3|___stack_chk_|___dso_handle"       # C++ and compiler
    r"|_objc_|_OBJC_EHTYPE_|___objc_|___CFConstantString|__NSConcrete|__Block_|__objc_empty"
    r"|__ZN?K?5boost|__ZT[IVS]N5boost|_(BIO|BN|CRYPTO|EC|ERR|EVP|OPENSSL|OSSL|OpenSSL|PEM|PKCS5)_|_\w+_72$"
    r"|__ZN?K?6icu_72|__ZT[IVS]N6icu_72"                                       # libraries
    r"|___errno_location|___assert_fail|_stderr$|_stdout$|memchr$")  # how the C library here says it


def names(option, objects):
    out = subprocess.run(["llvm-nm-19", option, "--just-symbol-name", *objects],
                         capture_output=True, text=True, check=True).stdout
    return {line for line in out.splitlines() if line and not line.endswith(":")}


def main():
    listed, objects = sys.argv[1], sys.argv[2:]
    rows = [line.split() for line in open(listed, encoding="utf-8")
            if line.strip() and not line.startswith("#")]
    reviewed = {symbol for _, symbol in rows}
    # C and POSIX functions come and go with the portable code.
    framework_only = {symbol for framework, symbol in rows if framework != "libSystem"}
    needed = names("--undefined-only", objects) - names("--defined-only", objects)
    needed = {name for name in needed if not GIVEN.match(name)}
    for name in sorted(needed - reviewed):
        print(f"not reviewed: {name}")
    for name in sorted(framework_only - needed):
        print(f"no longer needed: {name}")
    agree = needed <= reviewed and framework_only <= needed
    if agree:
        print(f"{len(needed)} outside symbols, all reviewed")
    return 0 if agree else 1


if __name__ == "__main__":
    sys.exit(main())
