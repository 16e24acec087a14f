#!/usr/bin/env python3
"""Breaks the sources in one place at a time and lists the mutants that the tests do not notice.

Works in a copy of the tree; run it from the top of the sources. The same seed gives the same mutants.
"""
import argparse
import glob
import os
import random
import re
import resource
import shutil
import subprocess
import tempfile

SOURCES = ["src/*.cpp", "src/*.h", "platform/src/*", "platform/include/*/*", "tools/*.cpp", "tools/*.h",
           "include/vexo_variant/*.h"]

# What is looked for in a line, and what takes its place.
OPERATORS = [
    (r" < ", [" <= ", " >= "]), (r" <= ", [" < ", " > "]),
    (r" > ", [" >= ", " <= "]), (r" >= ", [" > ", " < "]),
    (r" == ", [" != "]), (r" != ", [" == "]), (r" && ", [" || "]), (r" \|\| ", [" && "]),
    (r" \+ ", [" - "]), (r" - ", [" + "]), (r"\+\+(?=\w)", ["--"]), (r"--(?=\w)", ["++"]),
    (r"\btrue\b", ["false"]), (r"\bfalse\b", ["true"]), (r"!(?=[\w(])", [""]),
    (r"^\s*if \(.*\) return\b.*;$", [""]),
]
NUMBER = re.compile(r"(?<![\w.'\"])(0[xX][0-9A-Fa-f]+|\d+)(?=[uUlL]*\b)(?!\.)")
IGNORED = re.compile(r"^\s*(//|#|template|static_assert)|operator")
LITERAL = re.compile(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)+\'|//.*')


def mutations(line):
    """All lines that differ from this one in one place, outside of texts and comments."""
    if IGNORED.search(line):
        return
    masked = LITERAL.sub(lambda match: "~" * len(match[0]), line)
    for pattern, replacements in OPERATORS:
        for match in re.finditer(pattern, masked):
            for replacement in replacements:
                yield line[:match.start()] + replacement + line[match.end():]
    for match in NUMBER.finditer(masked):
        for step in (1, -1):
            value = int(match[0], 16 if match[0][:2] in ("0x", "0X") else 8 if match[0][0] == "0" else 10)
            if value + step >= 0:
                yield line[:match.start()] + str(value + step) + line[match.end():]


def candidates(path):
    with open(path, encoding="utf-8") as source:
        lines = source.read().split("\n")
    return [(path, number, line, mutant) for number, line in enumerate(lines)
            for mutant in mutations(line)]


def choose(count, generator):
    """As evenly over the files as they allow."""
    files = [candidates(path) for pattern in SOURCES for path in sorted(glob.glob(pattern))]
    for mutants in files:
        generator.shuffle(mutants)
    chosen = []
    while len(chosen) < count and any(files):
        generator.shuffle(files)
        chosen += [mutants.pop() for mutants in files if mutants]
    return chosen[:count]


def succeeds(seconds, *command):
    """Within so many seconds of the processor; other processes may take it ten times as long."""
    try:
        return subprocess.run(command, timeout=10 * seconds, check=False, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, preexec_fn=lambda: resource.setrlimit(
                                  resource.RLIMIT_CPU, (seconds, seconds))).returncode == 0
    except subprocess.TimeoutExpired:
        return False


def fuzz_targets():
    return sorted(os.listdir("fuzz/seeds"))


def build(path):
    targets = ["vexo-variant"] if path.startswith("tools/") else \
        ["vexo-tests", *(f"fuzz-{name}" for name in fuzz_targets())]
    return succeeds(600, "ninja", "-C", "build", *targets)


def passes(path, seconds):
    if path.startswith("tools/"):
        # In a copy of what it reads: a broken command may write there.
        shutil.rmtree("build/read", ignore_errors=True)
        shutil.copytree("examples", "build/read/examples")
        return succeeds(seconds, "tests/tool_test.sh", "build/tools/vexo-variant", "build/read")
    runs = [["build/tests/vexo-tests", "--gtest_fail_fast", "--gtest_filter=-*Slow*"],
            *([f"build/fuzz/fuzz-{name}", f"fuzz/seeds/{name}"] for name in fuzz_targets()),
            ["build/tests/vexo-tests", "--gtest_filter=*Slow*"]]
    return all(succeeds(seconds, *command) for command in runs)


def verdict(mutant, seconds):
    path, number, _, changed = mutant
    with open(path, encoding="utf-8") as source:
        original = source.read()
    lines = original.split("\n")
    lines[number] = changed
    try:
        with open(path, "w", encoding="utf-8") as source:
            source.write("\n".join(lines))
        if not build(path):
            return "did not compile"
        return "survived" if passes(path, seconds) else "killed"
    finally:
        with open(path, "w", encoding="utf-8") as source:
            source.write(original)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--mutants", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--timeout", type=int, default=60, help="processor seconds for a run of the tests")
    options = parser.parse_args()
    resource.setrlimit(resource.RLIMIT_AS, (16 << 30, 16 << 30))  # some mutants never stop growing
    outcomes = {"killed": 0, "survived": 0, "did not compile": 0}
    with tempfile.TemporaryDirectory() as directory:
        shutil.copytree(".", directory + "/tree", ignore=shutil.ignore_patterns("build", ".git"))
        os.chdir(directory + "/tree")
        # A build type of its own: nothing is optimised across files, which takes long.
        configured = succeeds(300, "cmake", "-S", ".", "-B", "build", "-G", "Ninja",
                              "-DCMAKE_BUILD_TYPE=Mutant", "-DCMAKE_CXX_FLAGS=-O1 -DNDEBUG",
                              "-DVEXO_WARNINGS_AS_ERRORS=OFF", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON")
        if not (configured and all(build(path) and passes(path, options.timeout)
                                   for path in ("src/", "tools/"))):
            raise SystemExit("the tests do not pass even as they are")
        for mutant in choose(options.mutants, random.Random(options.seed)):
            outcome = verdict(mutant, options.timeout)
            outcomes[outcome] += 1
            path, number, line, changed = mutant
            if outcome == "survived":
                print(f"{path}:{number + 1}\n-{line}\n+{changed}", flush=True)
    print(", ".join(f"{count} {outcome}" for outcome, count in outcomes.items()))


if __name__ == "__main__":
    main()
