#!/usr/bin/env python3
"""Makes tables of the results of the program `peers`:

table.py RESULTS.json...                            as text
table.py --markdown RESULTS.json... SET=FILE.json   as Markdown, with the ratios of runs with other sets of kernels
table.py --rows RESULTS.json...                     the names of our rows and of the best peers' rows

A ratio is our median time over the best peer's of the same run: below 1 we are faster. Single precision ("-f32")
is never the best peer. The limit of a row is the longer of two times: memcpy's for as many bytes, and that of as
many operations at the highest rate that was measured.
"""
import json
import math
import re
import statistics
import sys


def natural(text):
    """A key that sorts by the numbers in a name, which may be thousands (K) or millions (M)."""
    scale = {"": 1, "K": 1 << 10, "M": 1 << 20}
    found = re.findall(r"(\D*?)(\d+)([KM]?)", text)
    return [(before, int(digits) * scale[suffix]) for before, digits, suffix in found], text


def shown(nanoseconds):
    for unit, size in (("ms", 1e6), ("µs", 1e3), ("ns", 1)):
        if nanoseconds >= size or size == 1:
            return f"{nanoseconds / size:.3g} {unit}"


class Run:
    """The rows of one run: medians in nanoseconds by workload and peer."""

    def __init__(self, paths):
        self.rows, self.work, self.errors = {}, {}, []
        times = {}
        for path in paths:
            for result in json.load(open(path))["benchmarks"]:
                if result["run_type"] != "iteration":
                    continue
                workload, peer = result["name"].split("/")[:2]
                if result.get("error_occurred"):
                    self.errors.append(f"{workload}/{peer}: {result['error_message']}")
                    continue
                times.setdefault((workload, peer), []).append(result["real_time"])
                if peer in ("kvx", "limit"):
                    self.work[workload] = [result[name] for name in ("samples", "bytes", "flops")]
        for (workload, peer), values in times.items():
            self.rows.setdefault(workload, {})[peer] = statistics.median(values)

    def workloads(self):
        return sorted((w for w, peers in self.rows.items() if "kvx" in peers), key=natural)

    def ours(self, workload):
        return self.rows[workload]["kvx"]

    def best(self, workload):
        """Name and time of the fastest peer."""
        peers = [(time, name) for name, time in self.rows[workload].items() if name != "kvx" and not name.endswith("-f32")]
        return min(peers, default=(None, "none"))[::-1]

    def ratio(self, workload):
        best = self.best(workload)[1]
        return f"{self.ours(workload) / best:.2f}" if best else "-"

    def limit(self, workload):
        """The share of the limit that we reach, in percent, and which limit it is."""
        _, moved, flops = self.work[workload]
        copies = [(self.work[name][1], peers["limit"]) for name, peers in self.rows.items() if name.startswith("P.copy")]
        if not copies or "P.flops" not in self.rows:
            return ""
        size, time = min(copies, key=lambda copy: abs(math.log(copy[0] / moved)))
        memory = moved * time / size
        arithmetic = flops * self.rows["P.flops"]["limit"] / self.work["P.flops"][2]
        name = "memory" if memory > arithmetic else "arithmetic"
        return f"{100 * max(memory, arithmetic) / self.ours(workload):.0f} % of {name}"


def table(run):
    yield f"{'workload':<26}{'ours':>10}{'per sample':>12}  {'best peer':<22}{'its time':>10}{'ratio':>7}  limit"
    for workload in run.workloads():
        name, time = run.best(workload)
        ours = run.ours(workload)
        yield (f"{workload:<26}{shown(ours):>10}{shown(ours / run.work[workload][0]):>12}  {name:<22}"
               f"{shown(time) if time else '-':>10}{run.ratio(workload):>7}  {run.limit(workload)}")


def markdown(run, forced):
    """The ratios first, those of forced sets last, each from a run of its own."""
    ratios = [run.ours(workload) / run.best(workload)[1] for workload in run.workloads()]
    faster = sum(ratio < 1 for ratio in ratios)
    median = statistics.median(ratios)
    yield f"Faster than the best peer in {faster} of {len(ratios)} rows; half of the ratios are below {median:.2f}.\n"
    yield "| row | ours / best | best peer | ours | per sample | of the limit | " + " | ".join(forced) + " |"
    yield "| --- | ---: | --- | ---: | ---: | --- |" + " ---: |" * len(forced)
    for workload in run.workloads():
        ours = run.ours(workload)
        cells = [workload, run.ratio(workload), run.best(workload)[0], shown(ours), shown(ours / run.work[workload][0]),
                 run.limit(workload)] + [other.ratio(workload) if workload in other.rows else "" for other in forced.values()]
        yield "| " + " | ".join(cells) + " |"


def main():
    options = [argument for argument in sys.argv[1:] if argument.startswith("--")]
    paths = [argument for argument in sys.argv[1:] if argument not in options]
    forced = {}
    for name, path in (argument.split("=", 1) for argument in paths if "=" in argument):
        forced.setdefault(name, []).append(path)
    run = Run(path for path in paths if "=" not in path)
    if "--rows" in options:
        lines = [f"{workload}/{peer}/real_time" for workload in run.workloads() for peer in ("kvx", run.best(workload)[0])]
    elif "--markdown" in options:
        lines = markdown(run, {name: Run(files) for name, files in forced.items()})
    else:
        lines = table(run)
    print("\n".join(lines))
    for error in sorted(set(run.errors)):
        print(f"table: skipped {error}", file=sys.stderr)


main()
