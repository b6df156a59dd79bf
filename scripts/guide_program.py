#!/usr/bin/env python3
"""The program of a page of the guide.

usage: guide_program.py PAGE.md PROGRAM.cpp           takes the program out of the page
       guide_program.py PAGE.md --check EXECUTABLE    runs it in an empty folder and compares what it
                                                      prints with the page
       guide_program.py PAGE.md --accept EXECUTABLE   puts what it prints into the page
"""
import pathlib
import re
import subprocess
import sys
import tempfile


def block(page, language):
    return re.search(r"^```" + language + r"\n(.*?)^```$", page, re.DOTALL | re.MULTILINE)


def printed(executable):
    with tempfile.TemporaryDirectory() as folder:
        run = subprocess.run([pathlib.Path(executable).resolve()], cwd=folder, text=True, stdout=subprocess.PIPE,
                             timeout=60, check=True)
    return run.stdout


def main():
    path = pathlib.Path(sys.argv[1])
    page = path.read_text(encoding="utf-8")
    if sys.argv[2] == "--check":
        expected, found = block(page, "text").group(1), printed(sys.argv[3])
        if found != expected:
            sys.exit(f"The page says:\n{expected}The program prints:\n{found}")
    elif sys.argv[2] == "--accept":
        output = block(page, "text")
        path.write_text(page[:output.start(1)] + printed(sys.argv[3]) + page[output.end(1):], encoding="utf-8")
    else:
        pathlib.Path(sys.argv[2]).write_text(block(page, "cpp").group(1), encoding="utf-8")


main()
