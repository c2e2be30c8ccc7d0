#!/usr/bin/env python3
"""What one call of each benchmark executes on aarch64, counted under qemu.

There is no ARM machine here, and qemu's timings mean nothing, so this counts instead:
the aarch64 build of rkpix_count runs each benchmark's call under qemu-aarch64, which
logs every instruction it executes (-singlestep -d exec,nochain). The second call's
instructions (cut out between its marks) on a picture of W x H and of W x 2H, the one
subtracted from the other (so that what a call does once, or on its last row, is left
out), give per pixel of the H rows between

  * instructions per pixel, of the call and of its baseline (the memcpy of the same
    rectangle), at a level (neon: the fast paths; ref: the reference walks);
  * llvm-mca's estimate of the cycles that instruction stream takes on a CPU model,
    with every load an L1 hit and no branch mispredicted: a compute-only figure,
    optimistic for the memory-bound baseline.

usage: neon_count.py RKPIX_COUNT [--cpu=neoverse-n1] [--size=640x8] [--levels=neon,ref]
                     [--filter=REGEX] [--mca-max=N]
Prints a Markdown table on stdout.
"""
import re
import subprocess
import sys

TRACE = re.compile(r'^Trace \d+: 0x[0-9a-f]+ \[[0-9a-f]+/([0-9a-f]+)/')


def options(argv):
    opts = {'cpu': 'neoverse-n1', 'size': '640x8', 'levels': 'neon,ref', 'filter': '.',
            'mca-max': '400000'}
    rest = []
    for a in argv:
        m = re.match(r'--([a-z-]+)=(.*)$', a)
        if m and m.group(1) in opts:
            opts[m.group(1)] = m.group(2)
        else:
            rest.append(a)
    return opts, rest


def disassembly(binary):
    out = subprocess.run(['aarch64-linux-gnu-objdump', '-d', '--no-show-raw-insn', binary],
                         capture_output=True, text=True, check=True).stdout
    text = {}
    for line in out.splitlines():
        m = re.match(r'\s*([0-9a-f]+):\s+(\S.*)$', line)
        if not m:
            continue
        ins = m.group(2).split('//')[0].strip()
        # Branch and address targets become one label: llvm-mca needs a name, and
        # where a branch goes does not matter to a straight stream.
        ins = re.sub(r'\s[0-9a-f]+ <[^>]*>$', ' L0', ins)
        text[int(m.group(1), 16)] = ins
    return text


def symbol(binary, name):
    out = subprocess.run(['aarch64-linux-gnu-nm', binary], capture_output=True, text=True,
                         check=True).stdout
    for line in out.splitlines():
        parts = line.split()
        if len(parts) == 3 and parts[2] == name:
            return int(parts[0], 16)
    raise SystemExit('no symbol ' + name)


def second_call(binary, mark, args):
    """The PCs the second of two calls executes, between its marks."""
    cmd = ['qemu-aarch64', '-singlestep', '-d', 'exec,nochain', binary] + args
    proc = subprocess.Popen(cmd, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    marks, pcs = 0, []
    for line in proc.stderr:
        m = TRACE.match(line)
        if not m:
            continue
        pc = int(m.group(1), 16)
        if pc == mark:
            marks += 1
            continue
        if marks == 3:
            pcs.append(pc)
    proc.wait()
    if proc.returncode != 0 or marks != 4:
        raise SystemExit('%s: exit %d, %d marks' % (' '.join(args), proc.returncode, marks))
    return pcs


def mca_cycles(text, pcs, cpu):
    asm = 'L0:\n' + '\n'.join(text.get(pc, 'nop') for pc in pcs) + '\n'
    out = subprocess.run(['llvm-mca', '-mtriple=aarch64', '-mcpu=' + cpu, '-iterations=1',
                          '-timeline=false', '-resource-pressure=false',
                          '-instruction-info=false'],
                         input=asm, capture_output=True, text=True)
    m = re.search(r'Total Cycles:\s+(\d+)', out.stdout)
    if not m:
        raise SystemExit('llvm-mca: ' + out.stderr[:500])
    return int(m.group(1))


def main():
    opts, rest = options(sys.argv[1:])
    if len(rest) != 1:
        raise SystemExit(__doc__)
    binary = rest[0]
    w, h = opts['size'].split('x')
    pixels = int(w) * int(h)
    levels = opts['levels'].split(',')
    text = disassembly(binary)
    mark = symbol(binary, 'rkpix_count_mark')
    names = subprocess.run(['qemu-aarch64', binary, '--list'], capture_output=True, text=True,
                           check=True).stdout.split()
    names = [n for n in names if re.search(opts['filter'], n)]
    cpu = opts['cpu']
    head = ['Export'] + ['%s instr/px' % l for l in levels] + ['memcpy instr/px']
    head += ['%s cycles/px (%s)' % (levels[0], cpu), 'memcpy cycles/px', 'x_memcpy (model)']
    print('| ' + ' | '.join(head) + ' |')
    print('|---|' + '--:|' * (len(head) - 1))
    def calls(name, level, baseline=False):  # the second call's PCs at heights h and 2h
        return [second_call(binary, mark, ['--level=' + level, name, w, str(k * int(h)), '2'] +
                            (['--baseline'] if baseline else [])) for k in (1, 2)]

    for name in names:
        runs = {l: calls(name, l) for l in levels}
        base = calls(name, levels[0], baseline=True)
        row = [name] + ['%.2f' % ((len(r[1]) - len(r[0])) / pixels) for r in
                        [runs[l] for l in levels] + [base]]
        first = runs[levels[0]]
        if len(first[1]) <= int(opts['mca-max']):
            kc = mca_cycles(text, first[1], cpu) - mca_cycles(text, first[0], cpu)
            bc = mca_cycles(text, base[1], cpu) - mca_cycles(text, base[0], cpu)
            row += ['%.2f' % (kc / pixels), '%.2f' % (bc / pixels), '%.2f' % (kc / bc)]
        else:
            row += ['-', '-', '-']
        print('| ' + ' | '.join(row) + ' |', flush=True)


if __name__ == '__main__':
    main()
