#!/usr/bin/env python3
"""Holds what the headers of an installed shared library declare against what the library shows: whatever is declared
there and has no body there must be in it, and so must whatever an inline function there calls. Needs clang++.

usage: check_exports.py PREFIX"""

import json
import pathlib
import subprocess
import sys
import tempfile

FUNCTIONS = {"FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl", "CXXConversionDecl"}
BODIES = {"CompoundStmt", "CXXTryStmt"}
TEMPLATES = {"ClassTemplateDecl", "FunctionTemplateDecl", "ClassTemplatePartialSpecializationDecl",
             "ClassTemplateSpecializationDecl"}


def declarations(source, include):
    """What the source declares in namespace velmora, as clang's trees."""
    dump = subprocess.run(["clang++", "-std=c++20", "-DVELMORA_SHARED", f"-I{include}", "-fsyntax-only", "-Xclang",
                           "-ast-dump=json", "-Xclang", "-ast-dump-filter=velmora", source],
                          check=True, capture_output=True, text=True).stdout
    decoder, at = json.JSONDecoder(), dump.find("{")
    while at >= 0:
        node, end = decoder.raw_decode(dump, at)
        yield node
        at = dump.find("{", end)


def sort_functions(node, declared, defined):
    """Adds the mangled names of functions to those without a body and those with one."""
    kind = node.get("kind")
    if kind in TEMPLATES or node.get("isImplicit"):
        return
    children = node.get("inner", [])
    if kind in FUNCTIONS and not node.get("pure"):
        has_body = any(child.get("kind") in BODIES for child in children)
        is_there = has_body or node.get("explicitlyDeleted") or node.get("explicitlyDefaulted")
        (defined if is_there else declared).add(node.get("mangledName"))
    for child in children:
        sort_functions(child, declared, defined)


def main():
    prefix = pathlib.Path(sys.argv[1]).resolve()
    include, library = prefix / "include", prefix / "lib" / "libvelmora-x509.so"
    shown = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    names = {line.split()[-1] for line in shown.splitlines()}
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder) / "all.cpp"
        headers = sorted(header.relative_to(include) for header in include.rglob("*.h"))
        source.write_text("".join(f'#include "{header}"\n' for header in headers) + "int main() {}\n")
        declared, defined = set(), set()
        for node in declarations(source, include):
            sort_functions(node, declared, defined)
        # malformedLiteral is defined nowhere, so that a literal at fault stops the compiler.
        missing = sorted(name for name in declared - defined - names if "malformedLiteral" not in name)
        if len(declared) < 500:
            sys.exit(f"only {len(declared)} functions were found in {len(headers)} headers")
        if missing:
            print(subprocess.run(["c++filt"], input="\n".join(missing), capture_output=True, text=True).stdout)
            sys.exit("VELMORA_API is missing on these")
        subprocess.run(["g++", "-std=c++20", "-DVELMORA_SHARED", f"-I{include}", "-fkeep-inline-functions", source, library,
                        "-o", pathlib.Path(folder) / "all"], check=True)
    print(f"{len(headers)} headers declare {len(declared - defined)} functions; {len(names)} names are shown")


if __name__ == "__main__":
    main()
