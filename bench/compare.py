#!/usr/bin/python3
"""Runs Quillory and the floor program in turn and prints what each job took:

    bench/compare.py BUILD_FOLDER [--rounds N] [JOB…]

Figures of different runs say little, a machine is never the same twice: the ratios are what counts.
"""
import argparse
import collections
import pathlib
import statistics
import tempfile

import jobs
from figures import spread, verdict
from rig import Rig

Row = collections.namedtuple("Row", "name unit ours theirs limit extra")


def print_row(row):
    ours, theirs = statistics.median(row.ours), statistics.median(row.theirs)
    bound = abs(row.limit) * theirs + row.extra if row.limit else None
    ratio = ours / (theirs + row.extra) if theirs + row.extra else float("nan")
    limit = "" if not row.limit else f"{'≤' if row.limit > 0 else '≥'} {abs(row.limit):g}"
    if row.extra:
        limit += f" + {row.extra:.0f} {row.unit}"
    print(f"| {row.name} | {row.unit} | {spread(row.ours)} | {spread(row.theirs)} | {ours / theirs if theirs else ratio:.2f} | {limit} "
          f"| {verdict(row.ours, bound, at_least=bool(row.limit and row.limit < 0))} |", flush=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("job", nargs="*")
    options = parser.parse_intermixed_args()

    print("| Job | Unit | Quillory: median (spread) | Floor: median (spread) | Ratio | Limit | |")
    print("|---|---|---|---|---|---|---|")
    with tempfile.TemporaryDirectory(prefix="quillory-bench-") as folder:
        rig = Rig(pathlib.Path(options.build).resolve(), folder)
        try:
            for job in jobs.all_jobs():
                if options.job and not any(job.name.startswith(name) for name in options.job):
                    continue
                rounds = [job.run(rig) for _ in range(job.rounds or options.rounds)]
                for index, row in enumerate(rounds[0]):
                    columns = [one[index] for one in rounds]
                    print_row(Row(row.name, row.unit, [c.ours for c in columns], [c.theirs for c in columns],
                                  row.limit, row.extra))
        finally:
            rig.close()


if __name__ == "__main__":
    main()
