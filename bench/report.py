#!/usr/bin/env python3
"""Runs vexo-bench on a directory of documents and prints a table for each operation.

Every cell is a median: nanoseconds for one value of a document (for one element, key or insertion
in the tables of containers), then the ratio of the first column to each other one: of this
library's time to each peer's (below 1: this library is faster), or of one of its formats to
another. "life" is parsing and release together, with the work that the C library puts off. "bytes"
is the live heap for one value after parsing. "import" is of TOML. Where "text" is in the name, the
same tree is written and read in two formats. These have tables by text as well: ns for one byte,
and MB/s, where a ratio above 1 is the faster. "binary" is measuring and writing of the same tree in
two formats. "growth" is each
operation on more and more copies of a small document, "hostile" are keys in orders and of forms that
some containers are slow with. Every document has a process of its own, in which the repetitions of all benchmarks
alternate, so that a slow minute of the machine does not fall on one library alone.
"""
import argparse
import json
import os
import pathlib
import shutil
import subprocess
import sys

LIBRARIES = ["vexo", "nlohmann", "boost", "rapidjson", "msgpack", "cbor", "toml++", "toml11", "kvp", "json", "amf",
             "bin"]
# Tables of this library alone: their columns stand for themselves.
ALONE = {"growth": ["parse", "write", "copy", "compare", "release", "encode", "decode"],
         **dict.fromkeys(["hostile-insert", "hostile-lookup"],
                         ["random", "ascending", "descending", "both ends", "1 KB alike"])}
BY_TEXT = {"ns for one byte of text": lambda ns: ns, "MB of text in a second": lambda ns: 1e3 / ns}
OPERATIONS = ["parse", "write", "copy", "compare", "release", "life", "encode", "decode", "bytes",
              "lookup", "insert", "append", "iterate", "binary",
              *(name for operation in ["import", "text-parse", "text-write"]
                for name in [operation, *(f"{operation}, {unit}" for unit in BY_TEXT)]), *ALONE]
# What the chart shows: how many times as long the peers take.
CHARTED = {"parse": "JSON parse", "write": "JSON write", "copy": "copy", "compare": "compare",
           "release": "release", "encode": "binary encode", "decode": "binary decode", "import": "TOML"}


def benchmark(options, document):
    """What one process reports, for one document or, without, for the containers."""
    command = [options.binary, "--benchmark_format=json", "--benchmark_report_aggregates_only=true",
               "--benchmark_enable_random_interleaving=true",
               f"--benchmark_repetitions={options.repetitions}",
               f"--benchmark_min_time={options.min_time}", f"--benchmark_filter={options.filter}"]
    if document:
        command.append(document)
    if shutil.which("taskset"):
        cores = sorted(os.sched_getaffinity(0))
        command = ["taskset", "-c", str(cores[-1]), *command]
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
    if result.returncode != 0:
        sys.exit(f"{document or 'containers'}: {result.stderr.strip()}")
    return json.loads(result.stdout or '{"benchmarks": []}')["benchmarks"]  # the filter may fit none


def collect(figures, runs):
    for run in runs:
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run.get('error_message')}")
        if run.get("aggregate_name", "median") != "median":
            continue
        operation, subject, library = run["run_name"].split("/")[:3]
        add(figures, operation, subject, library, run["each"] * 1e9)
        if "bytes" in run:
            add(figures, "bytes", subject, library, run["bytes"])
        for unit, convert in BY_TEXT.items() if "text" in run else ():
            add(figures, f"{operation}, {unit}", subject, library, convert(run["each"] * 1e9 / run["text"]))


def add(figures, operation, subject, library, figure):
    figures.setdefault(operation, {}).setdefault(subject, {})[library] = round(figure, 3)


def table(operation, rows):
    """One operation: a row for each subject, the libraries' figures, then the first by the others."""
    names = [name for name in ALONE.get(operation, LIBRARIES) if any(name in row for row in rows.values())]
    ours, peers = names[0], [] if operation in ALONE else names[1:]
    digits = 2 if "," in operation else 1

    def line(subject, row):
        width = 12 if operation in ALONE else 10
        cells = [f"{row[name]:{width}.{digits}f}" if name in row else " " * (width - 1) + "-" for name in names]
        cells += [f"{row[ours] / row[name]:11.2f}" if name in row and ours in row else " " * 10 + "-"
                  for name in peers]
        return f"{subject:13}" + "".join(cells)

    unit = "" if "," in operation else " (of live heap for one value)" if operation == "bytes" else " (ns)"
    head = "".join(f"{name:>{12 if operation in ALONE else 10}}" for name in names)
    head += "".join(f"{'/' + name:>11}" for name in peers)
    lines = [operation + unit, " " * 13 + head]
    return "\n".join(lines + [line(subject, row) for subject, row in rows.items()])


def chart(figures, order, path):
    """A picture of how many times as long as this library its peers take, by operation and document."""
    from matplotlib import pyplot
    charted = [operation for operation in CHARTED if operation in figures]
    if not charted:
        return
    plots = pyplot.subplots(len(charted), 1, figsize=(9, 2.2 * len(charted)), layout="constrained")[1]
    for plot, operation in zip(plots, charted):
        rows = dict(sorted(figures[operation].items(), key=order))
        peers = [library for library in LIBRARIES[1:] if any(library in row for row in rows.values())]
        for i, peer in enumerate(peers):
            width = 0.8 / len(peers)
            places = [at - 0.4 + width * (i + 0.5) for at in range(len(rows))]
            plot.bar(places, [row.get(peer, 0) / row["vexo"] for row in rows.values()], width, label=peer)
        plot.axhline(1, color="black", linewidth=1)
        plot.set(title=CHARTED[operation], yscale="log", xticks=range(len(rows)), ylabel="times as long",
                 yticks=[0.2, 0.5, 1, 2, 5, 10, 20])
        plot.set_xticklabels(rows)
        plot.yaxis.set_major_formatter("{x:g}")
        plot.minorticks_off()
        plot.legend(loc="upper left", bbox_to_anchor=(1, 1))
    pyplot.rcParams.update({"svg.hashsalt": "performance", "svg.fonttype": "none"})  # small, and no chance in it
    pyplot.savefig(path, metadata={"Date": None})


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("binary")
    parser.add_argument("data", type=pathlib.Path, help="directory with the documents")
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--min-time", type=float, default=0.2, help="seconds for one repetition")
    parser.add_argument("--quick", action="store_true", help="two short repetitions")
    parser.add_argument("--filter", default=".", help="regular expression of benchmarks to run")
    parser.add_argument("--out", type=pathlib.Path, help="write all figures to this file as JSON")
    parser.add_argument("--chart", type=pathlib.Path, help="draw the comparison with peers into this file")
    options = parser.parse_args()
    if options.quick:
        options.repetitions, options.min_time = 2, 0.05
    return options


def main():
    options = arguments()
    figures = {}
    documents = [path for path in options.data.iterdir() if path.suffix in (".json", ".toml")]
    sizes = {path.stem: path.stat().st_size for path in documents}
    for document in [*documents, None]:
        collect(figures, benchmark(options, document and str(document)))

    def order(row):
        return sizes.get(row[0]) or int(row[0])
    for operation in filter(figures.get, OPERATIONS):
        print(table(operation, dict(sorted(figures[operation].items(), key=order))) + "\n")
    if options.out:
        options.out.write_text(json.dumps(figures, indent=1) + "\n")
    if options.chart:
        chart(figures, order, options.chart)


if __name__ == "__main__":
    main()
