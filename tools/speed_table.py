#!/usr/bin/env python3
"""Writes the Markdown speed table of docs/speed.md from benchmark JSON files, one a level.

Usage: speed_table.py MACHINE speed_<level>.json...  Each export's x_memcpy (median of the
repetitions) per level and frame size, the bar it is held to, and bold where it is over.
"""
import collections
import json
import re
import sys


def bar(name):
    """The ratio to memcpy an export is held to."""
    if name.startswith('RkBitConvert'):
        a, b = re.match(r'RkBitConvert(\w+?)To(\w+)', name).groups()
        return 1.5 if a.startswith('Color') and b.startswith('Color') else 2.0
    if 'Channel' in name or name.endswith('24') or re.search(r'24_', name):
        return 2.0
    return 1.5


def main():
    machine, files = sys.argv[1], sys.argv[2:]
    levels, rows, cpu = [], collections.OrderedDict(), ''
    for f in files:
        data = json.load(open(f))
        level = re.search(r'speed_(\w+)\.json$', f).group(1)
        levels.append(level)
        ctx = data.get('context', {})
        cpu = cpu or f"{ctx.get('num_cpus', '?')} CPUs at {ctx.get('mhz_per_cpu', '?')} MHz"
        for b in data['benchmarks']:
            if b.get('aggregate_name', 'median') != 'median' or 'x_memcpy' not in b:
                continue
            parts = [p for p in b['run_name'].split('/') if p != 'manual_time']
            size = next(p for p in parts if re.fullmatch(r'\d+x\d+', p))
            key = '/'.join(p for p in parts if p != size)
            rows.setdefault(key, {})[(level, size)] = b['x_memcpy']
    sizes = ['640x480', '1920x1080']
    print('# Speed of every export, by level\n')
    print(f'Kernel time over the time of a memcpy of the same destination rectangle, measured in the '
          f'same run (median of 3), on {machine}, {cpu}; each round times the memcpy after one '
          f'untimed memcpy, so that what the kernel leaves in the caches does not change it. '
          f'Written by `tools/speed.sh`. Bold: over the '
          f'bar (1.5 for plain, keyed, opacity and level members and colour conversions; 2 for '
          f'channel and 24-bit members and the other conversions). The memcpy is the C '
          f'library\'s, which uses the widest vectors the CPU has whatever level rkpix runs, so '
          f'the lower levels race a wider copy. The figures move with the load of the machine '
          f'they were taken on.\n')
    print('| Export | Bar | ' + ' | '.join(f'{l} {s}' for l in levels for s in sizes) + ' |')
    print('|---|--:|' + '--:|' * (len(levels) * len(sizes)))
    over = collections.Counter()
    for key, v in rows.items():
        limit = bar(key.split('/')[0])
        cells = []
        for l in levels:
            for s in sizes:
                x = v.get((l, s))
                if x is None:
                    cells.append('')
                elif x > limit:
                    over[l] += 1
                    cells.append(f'**{x:.2f}**')
                else:
                    cells.append(f'{x:.2f}')
        print(f'| {key} | {limit} | ' + ' | '.join(cells) + ' |')
    print('\nOver the bar: ' + ', '.join(f'{l} {over[l]}' for l in levels) + ' (cells of '
          f'{len(rows) * len(sizes)} a level).')


if __name__ == '__main__':
    main()
