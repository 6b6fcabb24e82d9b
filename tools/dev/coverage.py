#!/usr/bin/env python3
"""Prints the coverage of each folder and of all, and every line and branch that was left out, by function.

Fails when the whole is below a threshold, when something is left out of a function that the list does not name, and when
the list names a function of which nothing is left out. A row of the list begins with the file and the function:
| `core/links.h` | `unlink` | ...

usage: coverage.py JSON_OF_GCOVR LIST LINES_PERCENT BRANCHES_PERCENT
"""
import collections
import json
import re
import sys


def short_name(name):
    """Name of a function without namespaces, template arguments and parameters; of a lambda, its function's."""
    name = name.replace("(anonymous namespace)", "").replace("operator<<", "operator_shift").replace("->", "")
    while True:
        shorter = re.sub(r"<[^<>]*>|\{[^{}]*\}(#\d+)?|\([^()]*\)", "", name)
        if shorter == name:
            break
        name = shorter
    name = re.sub(r"::::.*|::operator ?$", "", re.sub(r"^:+", "", name.replace(" const", "").replace("zelfdb::", "")))
    return name.split()[-1].split("::")[-1] if name.split() else name


class File:
    """What one source file left out."""

    def __init__(self, entry):
        self.path = entry["file"]
        starts = sorted((f["lineno"], f["name"]) for f in entry["functions"])
        self.starts = starts
        self.lines = self.lines_run = self.branches = self.branches_taken = 0
        self.left_out = collections.defaultdict(list)
        for line in entry["lines"]:
            if not line["gcovr/noncode"]:
                self.add(line)

    def function_at(self, number):
        """The last function that starts at or before the line."""
        name = ""
        for start, candidate in self.starts:
            if start > number:
                break
            name = candidate
        return short_name(name)

    def add(self, line):
        self.lines += 1
        self.lines_run += line["count"] > 0
        taken = sum(branch["count"] > 0 for branch in line["branches"])
        self.branches += len(line["branches"])
        self.branches_taken += taken
        missing = len(line["branches"]) - taken
        if line["count"] > 0 and not missing:
            return
        number = line["line_number"]
        what = f"line {number}" if line["count"] == 0 else f"line {number}: {missing} of {len(line['branches'])} branches"
        self.left_out[self.function_at(number)].append(what)


def percent(part, whole):
    return 100.0 * part / whole if whole else 100.0


def print_figures(name, files):
    """One line of the table; the two percentages."""
    run, lines = sum(f.lines_run for f in files), sum(f.lines for f in files)
    taken, branches = sum(f.branches_taken for f in files), sum(f.branches for f in files)
    print(f"{name:10} lines {run:5} of {lines:5}  {percent(run, lines):6.2f} %   "
          f"branches {taken:5} of {branches:5}  {percent(taken, branches):6.2f} %")
    return percent(run, lines), percent(taken, branches)


def main(report, listed_in, lines_wanted, branches_wanted):
    with open(report, encoding="utf-8") as text:
        files = [File(entry) for entry in json.load(text)["files"]]
    with open(listed_in, encoding="utf-8") as text:
        listed = set(re.findall(r"^\| `([^`]+)` \| `([^`]+)` \|", text.read(), re.MULTILINE))

    left_out = {(f.path, function): what for f in files for function, what in f.left_out.items()}
    for (path, function), what in sorted(left_out.items()):
        print(f"left out: {path} {function}: {'; '.join(what)}")
    folders = collections.defaultdict(list)
    for file in files:
        folders[file.path.split("/")[0]].append(file)
    for folder, of_folder in sorted(folders.items()):
        print_figures(folder, of_folder)
    lines, branches = print_figures("all", files)

    faults = [f"{path} {function}: left out, and {listed_in} gives no reason"
              for path, function in sorted(set(left_out) - listed)]
    faults += [f"{path} {function}: not left out any more, but still in {listed_in}"
               for path, function in sorted(listed - set(left_out))]
    if lines < lines_wanted:
        faults.append(f"lines: {lines:.2f} %, wanted {lines_wanted} %")
    if branches < branches_wanted:
        faults.append(f"branches: {branches:.2f} %, wanted {branches_wanted} %")
    for fault in faults:
        print(f"coverage: {fault}", file=sys.stderr)
    return 1 if faults or not files else 0


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2], float(sys.argv[3]), float(sys.argv[4])))
