#!/usr/bin/env python3
"""Makes tables of what the benchmarks write: report.py [--json | --chart] [FILE...].

Reads JSON, as the programs write it, from the files or standard input, and prints tables for people;
with --json all of it as one object; with --chart it writes docs/performance.svg and those tables of
docs/performance.md that stand between "<!-- table NAME -->" and "<!-- end -->".
"""

import json
import math
import re
import sys
from pathlib import Path

DOCS = Path(__file__).resolve().parent.parent / 'docs'
SCHEMES = ['rsa2048', 'rsa4096', 'pss2048', 'p256', 'p384', 'p521', 'ed25519', 'dsa2048']
PREPARABLE = ['p256', 'p384', 'p521', 'ed25519']
QUESTIONS = [('load', 'load'), ('fields', 'load and read the fields'), ('rest', 'load and ask the rest'),
             ('all', 'load, fields and the rest')]
TRIALS = ['RSA 2048, e = 65537 (usual)', 'RSA 2048, e = 2^64 - 1', 'RSA 2048, e of 65 bits',
          'RSA 2048, e of 2047 bits', 'RSA 16384, e = 65537', 'RSA 16384, e = 2^64 - 1', 'RSA 16385, e = 65537',
          'RSA 1000000, e of 999999 bits', 'DSA 2048 (usual)', 'DSA 8192', 'DSA 8193', 'DSA 1000000',
          'ECDSA P-521', 'ECDSA brainpoolP512r1']
THREADED = ['leaves', 'leaves and trusted roots', 'one trusted root, again and again', 'OpenSSL, leaves',
            'OpenSSL, leaves and roots']
SIZES = [10, 100, 1000, 10000, 100000]
MICRO, NANO = 1e-3, 1  # of nanoseconds


def number(value):
    return f'{value:,.1f}' if value < 1000 else f'{value:,.0f}'


def ratio(ours, theirs):
    return f'{ours / theirs:.2f}' if ours >= theirs / 10 else f'{ours / theirs:.2g}'


class Results:
    def __init__(self, texts):
        self.all = {'machine': {}, 'times': {}, 'values': {}, 'notes': {}}
        for text in texts:
            for name, member in json.loads(text).items():
                self.all[name].update(member)
        self.machine, self.values, self.notes = (self.all[name] for name in ('machine', 'values', 'notes'))
        self.peers = [peer.split('=') for peer in self.machine.get('peers', '').split(', ') if peer]
        self.paths = [path for path in reversed(self.machine.get('paths', '').split(', '))]

    def time(self, name, unit=MICRO, per=1):
        """A time, the median of certificates and the best of what only computes; None if there is none."""
        time = self.all['times'].get(name)
        kind = 'median' if name.split('/')[0] in MEDIANS else 'best'
        return time and time[kind] * unit / per

    def cell(self, name, **how):
        time = self.time(name, **how)
        return self.notes.get(name, '') if time is None else number(time)

    def pair(self, ours, name, **how):
        """A cell with a time, and one with how ours compares with it."""
        theirs = self.time(name, **how)
        return [self.cell(name, **how), ratio(ours, theirs) if ours and theirs else '']

    def beside(self, first, rows, ours='velmora', **how):
        """Rows are names of benchmarks and what they are called; all peers beside ours."""
        made = []
        for name, title in rows:
            own = f'{name}/{ours}'
            cells = [title, self.cell(own, **how)]
            for key, _ in self.peers:
                cells += self.pair(self.time(own, **how), f'{name}/{key}', **how)
            made.append(cells)
        return [first, 'velmora', *(cell for _, title in self.peers for cell in (title, 'ratio'))], made

    def value(self, name, unit=1):
        return number(self.values[name] / unit) if name in self.values else ''


MEDIANS = {'load', 'fields', 'rest', 'all', 'everything', 'parse', 'bundle', 'alternative names', 'RDNs'}


def loading(r):
    return r.beside('certificates, ns each', QUESTIONS, unit=NANO, per=r.values.get('certificates', 1))


def typed(r):
    how = {'unit': NANO, 'per': r.values.get('certificates', 1)}
    rows = []
    for name, title, others in [
            ('parse', 'parse', [(f'load/{key}', f'{title}, load') for key, title in r.peers]),
            ('everything', 'parse, all fields and extensions', [('everything/velmora', '`VelmoraX509`')])]:
        ours = f'{name}/typed'
        rows += [[title, r.cell(ours, **how), beside, *r.pair(r.time(ours, **how), other, **how)]
                 for other, beside in others]
    return ['typed, ns each', 'velmora', 'beside', '', 'ratio'], rows


def growth(r):
    rows = []
    for what in ['bundle', 'alternative names', 'RDNs']:
        for key, title in [('velmora', ''), *r.peers]:
            row, before = [what + (title and ', ' + title)], None
            for size in SIZES:
                name = f'{what}/{size}/{key}'
                time = r.time(name)
                row.append(r.cell(name) + (f', {time / before:.1f}' if time and before else ''))
                before = time
            rows.append(row)
    return ['us, and times ten times less', *(f'{size:,}' for size in SIZES)], rows


def other_figures(r):
    ours, theirs = (r.values.get(f'process/{who}', 0) for who in ('velmora', 'openssl'))
    return ['', 'velmora', 'OpenSSL', 'ratio'], [
        ['heap of a loaded certificate, KB', r.value('heap/loaded', 1024), '', ''],
        ['heap of a typed certificate, KB', r.value('heap/typed', 1024), '', ''],
        ['show --json beside pkcs7 -text, ms', r.value('process/velmora'), r.value('process/openssl'),
         ratio(ours, theirs) if theirs else '']]


def lines(r):
    rows, theirs, count = [], r.values.get('lines/openssl'), r.values.get('lines/count')
    for jobs in (1, 2) if theirs else ():
        seconds = r.values[f'lines/{jobs}']
        rows.append([f'{count:,}, --jobs {jobs}', f'{seconds:.1f}', f'{count / seconds:,.0f}',
                     f'{count / r.values[f"lines/{jobs} busy"]:,.0f}', r.value(f'lines/{jobs} memory'),
                     f'{seconds / theirs:.2g}'])
    return ['show --json --lines', 'seconds', 'a second', 'a second of CPU', 'MiB', 'of openssl x509 in a loop'], rows


def path_title(path):
    return 'C++ alone' if path == 'portable' else path


def on_paths(r, title, schemes, kind, more=None):
    """OpenSSL's time for a prepared key, and ours of a kind on each path, the ratio, and the time of `more` there."""
    rows = []
    for scheme in schemes:
        row = [scheme, r.cell(f'prepared/{scheme}/openssl')]
        for path in r.paths:
            ours = f'{kind}/{scheme}/{path}'
            row += [r.cell(ours), r.pair(r.time(ours), f'prepared/{scheme}/openssl')[1]]
            row += [r.cell(f'{more}/{scheme}/{path}')] if more else []
        rows.append(row)
    columns = ['ratio', f'to {more}'] if more else ['ratio']
    return [title, 'OpenSSL', *(c for path in r.paths for c in (path_title(path), *columns))], rows


def paths(r):
    return on_paths(r, 'prepared key, us', SCHEMES, 'prepared')


def again(r):
    return on_paths(r, 'prepared key, asked again, us', PREPARABLE, 'again', 'prepare')


def peers(r):
    return r.beside('prepared key, us', [(f'prepared/{scheme}', scheme) for scheme in SCHEMES],
                    ours=r.machine.get('path', ''))


def certificates(r):
    return r.beside('load two certificates and verify, us',
                    [(f'certificate/{scheme}', scheme) for scheme in SCHEMES])


def expensive(r):
    return r.beside('load a key and verify once, us', [
        (f'expensive/{title}', title + (', refused' if f'expensive/{title}' in r.notes else ''))
        for title in TRIALS])


def one_and_two(r, first, prefix, titles):
    rows = []
    for title in [title for title in titles if f'{prefix}{title}/one' in r.values]:
        one, two = (r.values[f'{prefix}{title}/{threads}'] for threads in ('one', 'two'))
        rows.append([title.replace('/', ', ', 1), f'{one:,.0f}', f'{two:,.0f}', f'{two / one:.2f}'])
    return [first, 'one thread', 'two threads', 'times'], rows


def threads(r):
    return one_and_two(r, '64 leaves, 8 issuers, leaves a second', 'threads/', THREADED)


def chains(r):
    rows = []
    for scheme in ['rsa2048', 'p256']:
        for name, title, signatures in [('cold', 'cold', 'signatures'),
                                        ('known', 'upper links known', 'signature')]:
            ours, beneath = r.time(f'{scheme}/{name}'), r.time(f'{scheme}/{signatures}')
            row = [f'{scheme}, {title}', r.cell(f'{scheme}/{name}')]
            for key, _ in r.peers:
                row += r.pair(ours, f'{scheme}/{key}')
            rows.append([*row, r.cell(f'{scheme}/{signatures}'),
                         number(ours - beneath) if ours and beneath else ''])
    return ['chain of three, us', 'velmora', *(c for _, title in r.peers for c in (title, 'ratio')),
            'signatures alone', 'beyond them'], rows


def chain_threads(r):
    return one_and_two(r, 'verifications a second', '',
                       [scheme + title for scheme in ['rsa2048', 'p256'] for title in
                        ['/two chains', '/one leaf and anchors', '/signature alone', '/OpenSSL, one leaf']])


TABLES = [loading, typed, growth, other_figures, lines, paths, peers, again, certificates, expensive, threads, chains,
          chain_threads]

# What the chart shows: names of benchmarks, ours in them, and what they are called.
CHARTED = [('load', 'velmora', 'load a certificate'),
           *((f'prepared/{scheme}', None, f'{scheme}, prepared key') for scheme in SCHEMES),
           *((f'certificate/{scheme}', 'velmora', f'{scheme}, load two and verify') for scheme in SCHEMES),
           ('rsa2048', 'cold', 'rsa2048, chain of three'), ('p256', 'cold', 'p256, chain of three')]
COLOURS = ['#1f5fbf', '#444444', '#d9822b', '#3c9a5f', '#a0469b', '#b03030']
LEFT, TOP, STEP, DECADE = 220, 60, 22, 130


def measured(table):
    """The rows of a table in which anything stands."""
    header, rows = table
    return header, [row for row in rows if row[1]]


def as_text(header, rows):
    widths = [max(map(len, column)) for column in zip(header, *rows)]
    return '\n'.join('  '.join(cell.ljust(width) if not at else cell.rjust(width)
                               for at, (cell, width) in enumerate(zip(row, widths))).rstrip()
                     for row in [header, *rows])


def as_markdown(header, rows):
    return '\n'.join('| ' + ' | '.join(row) + ' |' if row else '|' + '---|' * len(header)
                     for row in [header, [], *rows]).replace('|  |', '| |').replace('|  |', '| |')


def as_svg(r):
    """Points on a logarithmic axis: time beside OpenSSL's, less to the left."""
    libraries = ['velmora', *(title for _, title in r.peers)]
    rows = []
    for name, ours, title in CHARTED:
        names = [f'{name}/{who}' for who in [ours or r.machine['path'], *(key for key, _ in r.peers)]]
        times = [r.time(each) for each in names]
        if times[0] and times[1]:
            rows.append((title, [time and time / times[1] for time in times]))
    points = [math.log10(point) for _, row in rows for point in row if point]
    low, high = math.floor(min(points)), math.ceil(max(points))
    width, bottom = LEFT + (high - low) * DECADE + 30, TOP + len(rows) * STEP

    def place(logarithm):
        return LEFT + (logarithm - low) * DECADE

    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{bottom + 40}" '
           'font-family="sans-serif" font-size="12">', '<rect width="100%" height="100%" fill="white"/>']
    for at, library in enumerate(libraries):
        out += [f'<circle cx="{20 + 90 * at}" cy="20" r="5" fill="{COLOURS[at % len(COLOURS)]}"/>',
                f'<text x="{30 + 90 * at}" y="24">{library}</text>']
    for power in range(low, high + 1):
        out += [f'<line x1="{place(power)}" y1="{TOP - 14}" x2="{place(power)}" y2="{bottom}" stroke="#ccc"/>',
                f'<text x="{place(power)}" y="{bottom + 16}" text-anchor="middle">{10.0 ** power:g}</text>']
    for at, (title, row) in enumerate(rows):
        y = TOP + at * STEP
        out.append(f'<text x="{LEFT - 12}" y="{y + 4}" text-anchor="end">{title}</text>')
        out += [f'<circle cx="{place(math.log10(point)):.1f}" cy="{y}" r="5" '
                f'fill="{COLOURS[library % len(COLOURS)]}"/>'
                for library, point in reversed(list(enumerate(row))) if point]
    out.append(f'<text x="{LEFT}" y="{bottom + 34}">time, OpenSSL = 1; left is faster</text>')
    return '\n'.join([*out, '</svg>', ''])


def write_documents(r):
    (DOCS / 'performance.svg').write_text(as_svg(r))
    blocks = {}
    for table in TABLES:
        header, rows = measured(table(r))
        if rows:
            blocks[table.__name__] = as_markdown(header, rows)
    blocks['chart'] = '![Times beside OpenSSL](performance.svg)'
    blocks['machine'] = (f'One run on {r.machine["cores"]} cores of {r.machine["CPU"]}, {r.machine["compiler"]}, '
                         f'beside {r.machine["beside"]}:')
    page = DOCS / 'performance.md'
    page.write_text(re.sub(r'(<!-- table (\w+) -->\n).*?(<!-- end -->)',
                           lambda m: f'{m[1]}{blocks[m[2]]}\n{m[3]}' if m[2] in blocks else m[0], page.read_text(), flags=re.S))


def main():
    files = [argument for argument in sys.argv[1:] if not argument.startswith('--')]
    r = Results([Path(file).read_text() for file in files] or [sys.stdin.read()])
    if '--json' in sys.argv:
        print(json.dumps(r.all, indent=1))
    elif '--chart' in sys.argv:
        write_documents(r)
    else:
        print('\n'.join(f'{name:20}{text}' for name, text in r.machine.items() if name != 'peers'))
        for table in TABLES:
            header, rows = measured(table(r))
            if rows:
                print('\n' + as_text(header, rows))


if __name__ == '__main__':
    main()
