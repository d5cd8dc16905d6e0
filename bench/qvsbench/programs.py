"""Benches that are programs of their own and print JSON lines: {"name": ..., "ratio": ...} or {"name": ..., "ms": ...}."""
import json
import os
import shutil
import sys

from qvsbench.process import run

PICTURE = ["picture-bench", "nv12-bench"]


def collect(report, commands):
    for command in commands:
        if not shutil.which(command[0]):
            print(f"bench: {os.path.basename(command[0])} is not built, its figures are left out", file=sys.stderr)
            continue
        for line in run(command).output.splitlines():
            if not line.startswith("{"):
                continue
            row = json.loads(line)
            value = next((row[key] for key in ("ratio", "ms", "percent", "value") if key in row), None)
            if value is not None:
                report.add(row["name"], row.get("samples") or [value], row.get("note", ""))


def picture(report, bin_folder):
    collect(report, [[os.path.join(bin_folder, name)] for name in PICTURE])
