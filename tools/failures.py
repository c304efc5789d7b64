#!/usr/bin/env python3
"""Prints the names of the tests that failed and the end of what each said: failures.py RESULTS, a file that ctest wrote."""

import sys
import xml.etree.ElementTree
from pathlib import Path

LINES = 40

results = Path(sys.argv[1])
for case in xml.etree.ElementTree.parse(results).iter("testcase") if results.exists() else ():
    if case.get("status") == "fail":
        said = (case.findtext("system-out") or "").splitlines()
        print(f"\n== {case.get('name')} ({float(case.get('time')):.0f} s)", *said[-LINES:], sep="\n")
