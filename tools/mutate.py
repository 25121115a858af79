#!/usr/bin/env python3
"""Changes single rows of the definitions at random and counts how many of the changes the tests notice.

    tools/mutate.py [--seed N] [--count N] [--kinds KIND,...] [--batch N] [--minutes N] [--build DIR] [--list]

Each mutant is one changed row: an IEI, a width, the order of two rows, presence, a bound, a form of length, a value of an
enumeration, a message type, a selector of a choice. The generator may refuse it, the compiler may, or a test program fails; what none of them
notices is told at the end with its change. Nothing is written outside the build folder, and the definitions stay as
they are. docs/testing.md has the last figures.
"""
import argparse
import collections
import json
import pathlib
import random
import re
import shlex
import shutil
import subprocess
import sys
import time

TOP = pathlib.Path(__file__).resolve().parent.parent
# Programs that know what definitions should say. Those that compare the library with itself or do not reach the
# definitions are left out: they could only catch more. The second ones see generated headers, so they are compiled anew
# for many mutants: only for what the first ones let through.
FIRST = ['golden', 'vectors']
SECOND = ['corpus', 'family', 'core24008', 'quirks', 'peer']
PRESENCE = {'M': ['room', '0/1'], 'room': ['M'], '0/1': ['M'], 'L/H': ['M', '0/1'], 'ext': ['M']}


def rows_of(lines):
    """(index, block header index) of every row that is no comment."""
    header = None
    for i, line in enumerate(lines):
        if not line.strip() or line.lstrip().startswith('#'):
            continue
        if line[0] in ' \t':
            yield i, header
        else:
            header = i


def replace_at(line, match, text, group=1):
    return line[:match.start(group)] + text + line[match.end(group):]


def mutate_iei(lines, i, header, rng):
    match = re.match(r'\s+(0x[0-9A-F][0-9A-F-])\s', lines[i])
    if not match:
        return None
    taken = {m.group(1) for line in block(lines, header) if (m := re.match(r'\s+(0x[0-9A-F][0-9A-F-])\s', line))}
    half = match.group(1).endswith('-')
    others = [f'0x{v:X}-' for v in range(1, 16)] if half else [f'0x{v:02X}' for v in range(1, 256)]
    return {i: replace_at(lines[i], match, rng.choice([o for o in others if o not in taken]))}


def block(lines, header):
    end = header + 1
    while end < len(lines) and (not lines[end].strip() or lines[end][0] in ' \t#'):
        end += 1
    return lines[header + 1:end]


def mutate_width(lines, i, header, rng):
    match = re.search(r'\bbits ([0-9]+)\b', lines[i])
    if not match:
        return None
    width = int(match.group(1))
    return {i: replace_at(lines[i], match, str(rng.choice([w for w in (width - 1, width + 1) if w > 0])))}


def mutate_order(lines, i, header, rng):
    plain = [k for k, h in rows_of(lines) if h == header]
    at = plain.index(i)
    if at + 1 == len(plain):
        return None
    other = plain[at + 1]
    words = [lines[k].split()[0] for k in (i, other)]
    marks = {'group', 'release', 'end-release', 'tail'}
    after = lines[plain[at + 2]].split()[0] if at + 2 < len(plain) else ''
    if marks & set(words) or (words[0] == '|') != (words[1] == '|') or '=' in lines[i].split()[1:2]:
        return None
    if words[0] == '|' and lines[header].startswith('pdu'):
        return None  # these carry their number: their order means nothing
    if words[0] != '|' and after == '|':
        return None
    return {i: lines[other], other: lines[i]}


def mutate_presence(lines, i, header, rng):
    match = re.match(r'\s+((?:if|when) \S+|room(?: 0/1| L/H| ext)?|M|0/1|L/H|ext)\s', lines[i])
    if not match:
        return None
    now = match.group(1)
    options = PRESENCE.get(now) or (['M'] if now.startswith(('if', 'when')) else [now.split()[1]])
    return {i: replace_at(lines[i], match, rng.choice(options))}


def mutate_bound(lines, i, header, rng):
    matches = [m for m in re.finditer(r'\s([0-9]+\.\.[0-9]+)(?=\s|$)', lines[i])]
    if lines[i].split()[0] == '|':
        matches = matches[1:] if re.match(r'\s*\|\s+[0-9]+\.\.', lines[i]) else matches
    if not matches:
        return None
    match = rng.choice(matches)
    low, high = map(int, match.group(1).split('..'))
    changes = [(low + 1, high), (low, high + 1), (low, high - 1)] + ([(low - 1, high)] if low else [])
    low, high = rng.choice([c for c in changes if c[0] <= c[1]])
    return {i: replace_at(lines[i], match, f'{low}..{high}')}


def mutate_length(lines, i, header, rng):
    match = re.search(r'\b(?:length|len) ([0-9]+)\b', lines[i])
    if not match:
        return None
    whole = re.search(r'(\blength [0-9]+( bits| from-octet)*( in [0-9.]+)?)', lines[i])
    if whole and not lines[i].startswith(' ') and rng.random() < 0.3:
        return {i: replace_at(lines[i], whole, '')}
    width = match.group(1)
    return {i: replace_at(lines[i], match, {'8': '16', '16': '8'}.get(width, '8'))}


def mutate_enum(lines, i, header, rng):
    match = re.match(r'\s+\S+ += +(0x[0-9A-Fa-f]+|[0-9]+)', lines[i])
    head = re.match(r'(?:enum|names)\s+\S+\s+bits ([0-9]+)', lines[header] if header is not None else '')
    if not match or not head:
        return None
    taken = {int(m.group(1), 0) for line in block(lines, header)
             if (m := re.match(r'\s+\S+ += +(0x[0-9A-Fa-f]+|[0-9]+)', line))}
    free = [v for v in range(1 << int(head.group(1))) if v not in taken]
    return {i: replace_at(lines[i], match, str(rng.choice(free)))} if free else None


def mutate_msgtype(lines, i, header, rng):
    match = re.match(r'message\s+\S+\s+0x([0-9A-F]{2})\b', lines[i])
    if not match and lines[header].startswith('pdu'):
        match = re.match(r'\s+\|\s+(?:[0-9]+\s+)?0x([0-9A-F]{2})\s', lines[i])
    return {i: replace_at(lines[i], match, f'{(int(match.group(1), 16) + rng.randrange(1, 256)) % 256:02X}')} \
        if match else None


def mutate_selector(lines, i, header, rng):
    match = re.match(r'\s+\|\s+(0x[0-9A-F]+|[0-9]+)\s', lines[i])
    if not match or lines[header].startswith('pdu'):
        return None
    if re.match(r'0[0-9]', match.group(1)):  # a code of bits
        at = rng.randrange(len(match.group(1)))
        flipped = ''.join(bit if i != at else '10'[int(bit)] for i, bit in enumerate(match.group(1)))
        return {i: replace_at(lines[i], match, flipped)}
    value = int(match.group(1), 0)
    return {i: replace_at(lines[i], match, str(rng.choice([v for v in (value - 1, value + 1, value + 3) if v >= 0])))}


KINDS = {name[len('mutate_'):]: function for name, function in list(globals().items()) if name.startswith('mutate_')}


class Mutant:
    def __init__(self, kind, file, lines, header, changed):
        self.kind, self.file, self.changed = kind, file, changed
        shown = [(i, changed[i]) for i in sorted(changed)]
        self.module = next(line.split()[1] for line in lines if line.startswith('module '))
        self.type = f'{self.module}_{lines[header].split()[1]}'
        self.title = f'{kind:9}{file.name}:{shown[0][0] + 1}'
        self.diff = '\n'.join(f'    - {lines[i].strip()}\n    + {new.strip()}' for i, new in shown)


def all_sites():
    """Every place where a kind of change is possible: (kind, file, lines, row, header)."""
    sites = collections.defaultdict(list)
    probe = random.Random(0)
    for file in sorted((TOP / 'src').glob('*.l3')):
        lines = file.read_text().splitlines()
        places = list(rows_of(lines))
        places += [(i, i) for i, line in enumerate(lines) if line.strip() and line[0] not in ' \t#']
        for i, header in sorted(places):
            if lines[i].startswith('module '):
                continue
            for kind, function in KINDS.items():
                if (lines[i][0] not in ' \t') and kind in ('order', 'presence', 'enum', 'iei'):
                    continue
                if function(lines, i, header, probe):
                    sites[kind].append((kind, file, lines, i, header))
    return sites


def draw(seed, count, kinds):
    """So many mutants, the kinds in turn, no place twice."""
    rng = random.Random(seed)
    sites = all_sites()
    queues = {kind: rng.sample(sites[kind], len(sites[kind])) for kind in kinds}
    mutants = []
    while len(mutants) < count and any(queues.values()):
        for kind in kinds:
            if queues[kind] and len(mutants) < count:
                _, file, lines, i, header = queues[kind].pop()
                mutants.append(Mutant(kind, file, lines, header, KINDS[kind](lines, i, header, rng)))
    return mutants


def uses():
    """For each type all that it is made of."""
    direct, names = {}, set()
    for file in sorted((TOP / 'src').glob('*.l3')):
        module, name = None, None
        for line in file.read_text().splitlines():
            words = line.split()
            if line.startswith('module '):
                module = words[1]
            elif words and line[0] not in ' \t#':
                name = f'{module}_{words[1]}'
                names.add(name)
            if words and name:
                direct.setdefault(name, set()).update(words[1:], (f'{module}_{word}' for word in words[1:]))
    closed = {}

    def close(name):
        if name not in closed:
            closed[name] = set()
            for used in (direct[name] & names) - {name}:
                closed[name] |= {used} | close(used)
        return closed[name]
    return {name: close(name) for name in sorted(names)}


def next_batch(mutants, size, held):
    """Mutants of types of which none is made of another: each shows in the row of its own type."""
    batch = []
    for mutant in mutants:
        apart = all(mutant.type != other.type and mutant.type not in held[other.type] and
                    other.type not in held[mutant.type] for other in batch)
        if apart and len(batch) < size:
            batch.append(mutant)
    return batch


class Bench:
    """A build whose generated sources are those of a mutant. Comments of generated headers are dropped: they tell widths
    and ranges, and would have everything compiled anew."""

    def __init__(self, build, without):
        self.build, self.made = build, build / 'mutant'
        self.generated = build / 'generated'
        self.run(['cmake', '-S', str(TOP), '-B', str(build), '-G', 'Ninja', '-DCMAKE_BUILD_TYPE=Debug',
                  '-DCMAKE_CXX_FLAGS=-O1 -g0', '-DCMAKE_CXX_FLAGS_DEBUG=', '-DVELNOR_TESTS_SHARED=ON'] +
                 ([f'-DCMAKE_{lang}_COMPILER_LAUNCHER=ccache' for lang in ('C', 'CXX')] if shutil.which('ccache') else []))
        self.stale = set()
        self.stages = [[p for p in stage if p not in without] for stage in (FIRST, SECOND)]
        self.run(['ninja', '-C', str(build)] + [f'test-{p}' for stage in self.stages for p in stage])
        commands = json.loads((build / 'compile_commands.json').read_text())
        self.commands = {c['file']: c['command'] for c in commands}
        made = {re.search(r' -o (\S+)', command).group(1): file for file, command in self.commands.items()}
        self.headers = self.headers_of({o: file for o, file in made.items() if 'velnor3gpp_objects.dir' in o})
        self.link = subprocess.run(['ninja', '-C', str(build), '-t', 'commands', '-s',
                                    'tests/libvelnor3gpp_tested.so'],
                                   capture_output=True, text=True).stdout.strip()
        self.l3gen = next(p for p in (build / 'l3gen', build / 'tools' / 'l3gen') if p.is_file())

    def run(self, command):
        done = subprocess.run(['nice'] + command, capture_output=True, text=True)
        if done.returncode:
            sys.exit(f'{" ".join(command)}\n{done.stdout[-3000:]}{done.stderr[-3000:]}')

    def headers_of(self, files):
        """For each source of the library the generated headers that its object was made from."""
        told = subprocess.run(['ninja', '-C', str(self.build), '-t', 'deps'] + list(files), capture_output=True, text=True)
        found = collections.defaultdict(set)
        for line in told.stdout.splitlines():
            if line and line[0] != ' ':
                file = files[line.split(': #deps')[0]]
            elif line:
                found[file].add(str(self.build / line.strip()))
        return {file: {h for h in headers if h.startswith(str(self.generated))} for file, headers in found.items()}

    def generate(self, mutants):
        """False if the generator refuses."""
        source = self.build / 'mutated'
        source.mkdir(exist_ok=True)
        files = []
        for file in sorted((TOP / 'src').glob('*.l3')):
            changed = {i: line for mutant in mutants if mutant.file == file for i, line in mutant.changed.items()}
            lines = [changed.get(i, line) for i, line in enumerate(file.read_text().splitlines())]
            (source / file.name).write_text('\n'.join(lines) + '\n')
            files.append(str(source / file.name))
        done = subprocess.run([str(self.l3gen), str(self.made)] + files, capture_output=True, text=True)
        return done.returncode == 0

    def install(self):
        """Copies what differs, headers without their comments. Gives the names of what was copied."""
        changed = set()
        for file in self.made.rglob('*'):
            if not file.is_file():
                continue
            text = file.read_text()
            if file.suffix == '.h':
                text = re.sub(r'/\*.*?\*/', '', text, flags=re.S)
            target = self.generated / file.relative_to(self.made)
            if not target.exists() or target.read_text() != text:
                target.write_text(text)
                changed.add(str(target))
        return changed

    def patch(self, changed):
        """Compiles what changed and all that includes a changed header: tables, hand-written coders and the coders of
        each module know the layout of records. One that is left out has the layout of a mutant before this one."""
        self.stale |= {f for f in changed if f.endswith('.cpp')}
        self.stale |= {f for f, headers in self.headers.items() if headers & changed}
        for file in sorted(self.stale):
            if subprocess.run(['nice'] + shlex.split(self.commands[file]), cwd=self.build, capture_output=True).returncode:
                return False
            self.stale.discard(file)
        return subprocess.run(self.link, shell=True, cwd=self.build, capture_output=True).returncode == 0

    def compile(self, programs):
        command = ['nice', 'ninja', '-j1', '-C', str(self.build)] + [f'test-{p}' for p in programs]
        return subprocess.run(command, capture_output=True, timeout=1800).returncode == 0

    def fails(self, program, tests):
        command = ['nice', str(self.build / 'tests' / f'test-{program}'), '--gtest_fail_fast', '--gtest_brief=1',
                   '--gtest_filter=' + tests]
        try:
            return subprocess.run(command, capture_output=True, timeout=300).returncode != 0
        except subprocess.TimeoutExpired:
            return True

    def first_failing(self, programs, module):
        last = None
        for program in programs:
            tests = '*'
            if program == 'golden' and module:  # the others after all else
                tests, last = f'*/{module}', f'-*/{module}'
            if self.fails(program, tests):
                return program
        return 'golden' if last and self.fails('golden', last) else None

    def outcomes(self, batch):
        """Of several mutants at once, as far as the golden tables tell them apart; of the others one by one."""
        found = {mutant: 'refused' for mutant in batch if not self.generate([mutant])}
        left = [mutant for mutant in batch if mutant not in found]
        golden = any('golden' in stage for stage in self.stages)
        if golden and len(left) > 1 and self.generate(left) and self.patch(self.install()):
            modules = ':'.join(sorted({f'*/{mutant.module}' for mutant in left}))
            command = ['nice', str(self.build / 'tests' / 'test-golden'), '--gtest_brief=1', f'--gtest_filter={modules}']
            told = set(subprocess.run(command, capture_output=True, text=True, timeout=900).stdout.split('\n'))
            found.update({mutant: 'golden' for mutant in left if mutant.type in told})
        return [(mutant, found.get(mutant) or self.outcome(mutant)) for mutant in batch]

    def outcome(self, mutant):
        if not self.generate([mutant] if mutant else []):
            return 'refused'
        if not self.patch(self.install()):
            return 'not compiled'
        for programs in self.stages:
            if (not mutant or programs is self.stages[-1]) and not self.compile(programs):
                return 'not compiled'
            if failing := self.first_failing(programs, mutant and mutant.module):
                return failing
        return 'SURVIVED'


def report(results, seconds):
    kinds = sorted({m.kind for m, _ in results})
    outcomes = sorted({o for _, o in results}, key=lambda o: (o == 'SURVIVED', o not in ('refused', 'not compiled'), o))
    print('\n' + 'kind'.ljust(10) + ''.join(o.rjust(14) for o in outcomes) + 'all'.rjust(8))
    for kind in kinds + ['all']:
        mine = [o for m, o in results if kind in (m.kind, 'all')]
        print(kind.ljust(10) + ''.join(str(mine.count(o)).rjust(14) for o in outcomes) + str(len(mine)).rjust(8))
    survivors = [m for m, o in results if o == 'SURVIVED']
    early = sum(o in ('refused', 'not compiled') for _, o in results)
    golden = sum(o == 'golden' for _, o in results)
    caught, reached = len(results) - len(survivors), len(results) - early
    print(f'\ncaught {caught} of {len(results)}: {100 * caught / len(results):.1f} %; of the {reached} that reached the '
          f'tests {reached - len(survivors)}, {golden} by the golden tables alone; {seconds / len(results):.1f} s each')
    for mutant in survivors:
        print(f'survived: {mutant.title}\n{mutant.diff}')


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('--seed', type=int, default=1)
    parser.add_argument('--count', type=int, default=160)
    parser.add_argument('--kinds', default=','.join(KINDS))
    parser.add_argument('--build', type=pathlib.Path, default=TOP / 'build' / 'mutants')
    parser.add_argument('--without', action='append', default=[], help='a test program to leave out')
    parser.add_argument('--minutes', type=float, default=1e9, help='ends with what has been done by then')
    parser.add_argument('--batch', type=int, default=10, help='mutants of unrelated types that are built together')
    parser.add_argument('--skip', type=int, default=0, help='leaves the first ones out')
    parser.add_argument('--list', action='store_true', help='shows the mutants and does nothing')
    options = parser.parse_args()
    mutants = draw(options.seed, options.count, options.kinds.split(','))[options.skip:]
    if options.list:
        for mutant in mutants:
            print(f'{mutant.title}\n{mutant.diff}')
        return
    bench = Bench(options.build.resolve(), options.without)
    if (failing := bench.outcome(None)) != 'SURVIVED':
        sys.exit(f'without a mutant: {failing}')
    results, start = [], time.time()
    held = uses()
    while mutants and time.time() - start < options.minutes * 60:
        batch = next_batch(mutants, options.batch, held)
        mutants = [mutant for mutant in mutants if mutant not in batch]
        for mutant, outcome in bench.outcomes(batch):
            results.append((mutant, outcome))
            print(f'{len(results):4} {mutant.title:40} {outcome}', flush=True)
    report(results, time.time() - start)


if __name__ == '__main__':
    main()
