#!/usr/bin/env python3
"""Prints the failed tests: failures.py RESULTS [--names|--count], where RESULTS is a JUnit file of ctest.

Without an option, also prints the end of each test's output."""

import sys
import xml.etree.ElementTree
from pathlib import Path

LINES = 40

results, option = Path(sys.argv[1]), "".join(sys.argv[2:])
cases = xml.etree.ElementTree.parse(results).iter("testcase") if results.exists() else ()
failed = [case for case in cases if case.get("status") == "fail"]
if option == "--count":
    print(len(failed))
for case in failed:
    if option == "--names":
        print(case.get("name"))
    elif not option:
        said = (case.findtext("system-out") or "").splitlines()
        print(f"\n== {case.get('name')} ({float(case.get('time')):.0f} s)", *said[-LINES:], sep="\n")
