#!/usr/bin/env python3
"""Makes one HTML file of the page and the module: bundle.py MODULE.wasm OUTPUT.html

The scripts are ES modules, joined in the order of their imports, each in a scope of its own. Nothing but what
stands in the file may run or be loaded: the policy names script and style by their hashes.
"""
import base64
import hashlib
import re
import sys
import zlib
from pathlib import Path

PAGE = Path(__file__).resolve().parent / 'page'
IMPORT = re.compile(r"^import (\{[^}]*\}) from './(\w+)\.js';\n", re.M)
EXPORT = re.compile(r'^export (?=(?:async )?(?:function|class|const) (\w+))', re.M)


def joined(name, seen):
    """A script as a function's scope, behind those that it imports, each once."""
    if name in seen:
        return ''
    seen.add(name)
    text = (PAGE / f'{name}.js').read_text()
    before = ''.join(joined(each, seen) for _, each in IMPORT.findall(text))
    own = EXPORT.sub('', IMPORT.sub(r'const \1 = in_\2;\n', text))
    assert 'import ' not in re.sub('//.*', '', own) and '\nexport ' not in own, name
    return f'{before}const in_{name} = (() => {{\n{own}return {{ {", ".join(EXPORT.findall(text))} }};\n}})();\n'


def script(name):
    text = f"'use strict';\n{joined(name, set())}"
    assert '</script' not in text and '<!--' not in text
    return text


def source(text):
    return "'sha256-" + base64.b64encode(hashlib.sha256(text.encode()).digest()).decode() + "'"


def packed(module):
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    return base64.b64encode(packer.compress(module) + packer.flush()).decode()


def main(module, output):
    style = (PAGE / 'style.css').read_text()
    parts = {'STYLE': style, 'SCRIPT': script('main'), 'WORKER': script('worker'),
             'MODULE': packed(Path(module).read_bytes())}
    parts['POLICY'] = '; '.join([
        "default-src 'none'", f"script-src {source(parts['SCRIPT'])} 'wasm-unsafe-eval'",
        f'style-src {source(style)}', 'worker-src blob:', "connect-src 'none'", "base-uri 'none'",
        "form-action 'none'"])
    page = re.sub(r'@([A-Z]+)@', lambda found: parts[found[1]], (PAGE / 'index.html').read_text())
    Path(output).parent.mkdir(parents=True, exist_ok=True)
    Path(output).write_text(page)


if __name__ == '__main__':
    main(*sys.argv[1:])
