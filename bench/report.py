#!/usr/bin/python3
"""Writes docs/performance.md and docs/gemm_gflops.png from an orb-bench gemm run.

    bench/report.py --json FILE [--out DIR] [--note TEXT]
    bench/report.py --run BUILD/bench/orb-bench [--quick] [--out DIR] [--note TEXT]

With --json it reads the results that `orb-bench gemm --json FILE` wrote;
with --run it runs the benchmark first (keeping its JSON beside the report).
The report holds the machine (processor, cores, memory, load), the library
versions, the table of GFLOPS and ratios, the targets with pass or fail, and a
plot of GFLOPS against size for the square double-precision shapes.

Targets are judged on the ratios of one run: orb against the serial provider
(same machine, same moment) and against the threaded peer it is least ahead of,
each ratio the median over rounds of the two libraries' best calls in the same
round.
"""

import argparse
import datetime
import json
import math
import os
import platform
import subprocess
import sys

# What orb's threaded gemm must reach, as (text, shape filter, ratio, least value).
# "best peer" is the threaded peer that orb is least ahead of on that shape.
TARGETS = [
    ("dgemm square 1000 and above: at least 0.97x the best peer",
     lambda r: r["prec"] == "d" and r["group"] == "square" and r["m"] >= 1000, "ratio_best_peer", 0.97),
    ("dgemm square 1000 and above: at least 1.9x the serial provider",
     lambda r: r["prec"] == "d" and r["group"] == "square" and r["m"] >= 1000, "ratio_serial", 1.9),
    ("dgemm long-k shapes: at least 1.0x the best peer",
     lambda r: r["prec"] == "d" and r["group"] == "long-k", "ratio_best_peer", 1.0),
    ("dgemm square 200 to 500: at least 1.0x the best peer",
     lambda r: r["prec"] == "d" and r["group"] == "square" and 200 <= r["m"] <= 500, "ratio_best_peer", 1.0),
    ("every shape of the list: at least 0.95x the best peer",
     lambda r: True, "ratio_best_peer", 0.95),
]



# The hand-written part of the report, from this heading to the end, survives
# every regeneration: the measurements behind the library's thresholds.
NOTES_HEADING = "## Notes behind the thresholds"


def kept_notes(path):
    """The hand-written notes of the existing report at path, or ""."""
    try:
        with open(path, encoding="utf-8") as f:
            text = f.read()
    except FileNotFoundError:
        return ""
    at = text.find(NOTES_HEADING)
    return "\n" + text[at:] if at >= 0 else ""


def evaluate_targets(results):
    """One entry per target: its text, least value, and per shape (name, ratio, verdict).

    A shape passes when its ratio reaches the least value and no library's
    result disagreed with orb's on it; it is "n/a" when the ratio could not be
    formed (a library missing).  A target passes when it has shapes and all of
    them pass."""
    verdicts = []
    for text, selects, key, least in TARGETS:
        shapes = []
        for r in results:
            if not selects(r):
                continue
            ratio = r.get(key)
            mismatch = any(lib and lib.get("check") == "MISMATCH" for lib in r["libraries"].values())
            if mismatch:
                verdict = "FAIL (results differ)"
            elif ratio is None:
                verdict = "n/a"
            else:
                verdict = "PASS" if ratio >= least else "FAIL"
            shapes.append((r["name"], ratio, verdict))
        if not shapes:
            overall = "n/a (not measured)"
        elif any(v.startswith("FAIL") for _, _, v in shapes):
            overall = "FAIL"
        elif all(v == "PASS" for _, _, v in shapes):
            overall = "PASS"
        else:
            overall = "n/a"
        verdicts.append({"target": text, "least": least, "ratio": key, "shapes": shapes, "verdict": overall})
    return verdicts


def read_first(path, prefix):
    """The value after "prefix ... :" on the first matching line of a /proc file, or None."""
    try:
        with open(path, encoding="utf-8") as f:
            for line in f:
                if line.startswith(prefix):
                    return line.split(":", 1)[1].strip()
    except OSError:
        pass
    return None


def physical_cores():
    """Distinct (package, core) pairs of /proc/cpuinfo, or None when it does not say."""
    pairs, package = set(), None
    try:
        with open("/proc/cpuinfo", encoding="utf-8") as f:
            for line in f:
                if line.startswith("physical id"):
                    package = line.split(":", 1)[1].strip()
                elif line.startswith("core id"):
                    pairs.add((package, line.split(":", 1)[1].strip()))
    except OSError:
        return None
    return len(pairs) or None


def dpkg_query(*args):
    try:
        out = subprocess.run(["dpkg-query", *args], capture_output=True, text=True, check=False)
    except OSError:
        return ""
    return out.stdout.strip() if out.returncode == 0 else ""


def package_of(path):
    """ "name version" of the Debian package that installed `path`, or "" when none did."""
    if not path:
        return ""
    owner = dpkg_query("-S", path).split(":", 1)[0]  # "libblis4-pthread:amd64: /usr/lib/..."
    version = dpkg_query("-W", "-f=${Version}", owner) if owner else ""
    return f"{owner} {version}".strip()


def git_commit(root):
    """The source's commit, with "-dirty" when files other than the report's own (docs/) differ from it."""
    def git(*args):
        try:
            out = subprocess.run(["git", "-C", root, *args], capture_output=True, text=True, check=False)
        except OSError:
            return ""
        return out.stdout.strip()
    commit = git("rev-parse", "--short", "HEAD")
    if not commit:
        return None
    changed = git("status", "--porcelain", "--untracked-files=no", "--", ":/", ":(exclude,top)docs")
    return commit + ("-dirty" if changed else "")


def hypervisor():
    """The hypervisor vendor lscpu names ("KVM"), or None on bare metal or when it cannot tell."""
    try:
        out = subprocess.run(["lscpu"], capture_output=True, text=True, check=False).stdout
    except OSError:
        return None
    for line in out.splitlines():
        if line.startswith("Hypervisor vendor:"):
            return line.split(":", 1)[1].strip() or None
    return None


def machine():
    memory_kib = read_first("/proc/meminfo", "MemTotal")
    memory = f"{int(memory_kib.split()[0]) / 2**20:.1f} GiB" if memory_kib else "unknown"
    cpu = read_first("/proc/cpuinfo", "model name") or platform.processor() or "unknown"
    family, model = read_first("/proc/cpuinfo", "cpu family"), read_first("/proc/cpuinfo", "model\t")
    # A virtual machine may hide the model's name ("Intel(R) Xeon(R) Processor"); family and model still say.
    if family and model:
        cpu += f", family {family} model {model}"
    host = {
        "cpu": cpu,
        "hypervisor": hypervisor(),
        "logical": os.cpu_count(),
        "cores": physical_cores(),
        "memory": memory,
        "kernel": f"{platform.system()} {platform.release()}",
        "commit": git_commit(os.path.dirname(os.path.abspath(__file__))),
    }
    host["label"] = ", ".join(filter(None, [cpu, host["hypervisor"], f"{host['cores'] or host['logical']} cores"]))
    return host


def fmt_kernels(lib):
    """The kernel set a library ran and how it came to it, as the library table states it."""
    ran = lib.get("kernels") or "?"
    forced, own = lib.get("forced"), lib.get("own_kernels") or "?"
    if not lib["peer"]:
        return f"{ran}, forced: {forced}" if forced else f"{ran}, the best for this processor (chosen by orb's core)"
    return f"{ran}, forced: {forced}; picks {own} by itself" if forced else f"{ran}, its own pick"


def peer_scaling(r):
    """The best peer's speed-up over the serial provider on one shape, or None."""
    return r.get("ratio_peer_serial")


def fmt_gflops(lib):
    return f"{lib['gflops']:.1f}" if lib else "n/a"


def fmt_ratio(ratio, digits=2):
    return f"{ratio:.{digits}f}x" if ratio is not None else "n/a"


def fmt_share(share):
    return f"{share:.0%}" if share is not None else "?"


def fmt_verdict(ratio, verdict):
    """"0.961x FAIL", or a lone "n/a" when there was no ratio to judge.  Three digits, cut rather
    than rounded, so that a ratio just under its bound never prints as reaching it."""
    if ratio is None:
        return verdict if verdict == "n/a" else f"n/a {verdict}"
    return f"{fmt_ratio(math.floor(ratio * 1000) / 1000, 3)} {verdict}"


# Other processes may use this share of the CPUs during a shape before its figures count as disturbed.
BUSY_SHARE = 0.10


def busy_note(run):
    """A warning naming the shapes during which other processes used a noticeable share of the CPUs."""
    busy = [(r["name"], r["others_cpu_share"]) for r in run["results"]
            if r.get("others_cpu_share") is not None and r["others_cpu_share"] > BUSY_SHARE]
    if not busy:
        return None
    worst = max(share for _, share in busy)
    return (f"Other processes used more than {BUSY_SHARE:.0%} of the {run.get('cpus', '?')} CPUs while "
            f"{len(busy)} of the {len(run['results'])} shapes were measured (up to {worst:.0%}); "
            "their figures are disturbed and provisional.")


def render_markdown(run, verdicts, host, note=None, plot_name="gemm_gflops.png"):
    libs = run["libraries"]
    keys = [lib["key"] for lib in libs]
    label = {lib["key"]: lib["label"] for lib in libs}
    out = ["# Performance", ""]
    if note:
        # Each line of the note stays a line of the quote, so that it may hold a table.
        out += ["> " + line if line else ">" for line in f"**Note.** {note}".splitlines()] + [""]
    busy = busy_note(run)
    if busy:
        out += [f"> {busy}", ""]
    out += [
        f"orb's threaded gemm against the serial provider under its core (one core) and against the threaded "
        f"libraries a user could pick instead, measured by `orb-bench gemm{' --quick' if run['quick'] else ''}` "
        f"on {run['date']}, on {host['label']}. Written by `bench/report.py`; run `bench/run.sh` to "
        "measure again.",
        "",
        "## Machine",
        "",
        "| | |",
        "|---|---|",
        f"| processor | {host['cpu']}{', under ' + host['hypervisor'] if host.get('hypervisor') else ''} |",
        f"| cores | {host['cores'] or '?'} physical, {host['logical']} logical |",
        f"| memory | {host['memory']} |",
        f"| system | {host['kernel']} |",
        f"| load average (1, 5, 15 min) | start {run.get('load_start', '?')}, end {run.get('load_end', '?')} |",
        f"| threads | {run['threads']} for orb and each threaded peer; the serial provider on 1 |",
    ]
    if host.get("commit"):
        out.append(f"| orb source | {host['commit']} |")
    out += ["", "| library | reports itself as | kernel set | Debian package | threads | file |",
            "|---|---|---|---|---|---|"]
    for lib in libs:
        pkg_text = package_of(lib["path"])
        about = lib["about"] if lib["available"] else f"n/a: {lib['missing']}"
        kernels = fmt_kernels(lib) if lib["available"] else ""
        out.append(f"| {lib['label']} | {about} | {kernels} | {pkg_text} | {lib['threads']} "
                   f"| {lib['path'] or '(linked)'} |")

    out += [
        "",
        "## Method",
        "",
        "For each shape, every library first makes one untimed call from the same starting C "
        "(C = 1.5 AB + 0.5 C, pseudo-random operands in [-1, 1)); its result is compared with the serial "
        "provider's (one thread, so nothing can race), and the largest difference relative to the largest "
        "element of C must stay within a bound that grows with k. Then each library runs "
        f"its batches of timed calls, interleaved with the others' and each round starting "
        f"with a different library, about {run['time_per_measurement_s']:g} s per library and shape. A shape "
        f"gets as many rounds as give its slowest library one call per round in that time, at least "
        f"{run['rounds']} and at most 40, nor so many that a batch lasts under 20 ms (the \"rounds\" column; "
        "after an idle spell a thread pool can take a few milliseconds to bring back its parked threads, "
        "and a shorter batch would time that), and after them each library makes one more "
        "checked call from the starting C. Every batch follows the same pause, the longest that any library's "
        "idle threads keep spinning (0.15 s, the threaded OpenBLAS's): a batch that starts on a machine idle "
        "for longer runs slower, so no library may start from a longer pause than the others. "
        "The GFLOPS figure is the best single call (on a shared machine "
        "interference only adds time); the JSON output also keeps the median. GFLOPS count 2mnk "
        "operations, 8mnk for complex. The ratios are paired: for two libraries, the ratio of their "
        "best calls within each round, whose batches run within a fraction of a second of each other, and the "
        "median of that ratio over the rounds. A slow spell of this shared machine longer than a round "
        "then cancels out of the ratio, while the best calls of a whole run can come from different "
        "spells; so a ratio can differ from the quotient of the two GFLOPS figures. \"best peer\" is "
        "the peer orb is least ahead of. \"peer / serial\" is how far the best peer itself scales over one "
        "thread: where it stays well below the thread count, so does any library on this machine. The last "
        "column is the share of the CPUs that other processes used while the shape was measured; above a "
        "few percent the shape's figures are disturbed.",
        "",
        "Each library runs the best kernel set it has for this processor. orb's core chooses its provider's "
        "set from the processor's features (the serial provider is the same copy). Each peer is first asked, "
        "in a fresh process (`orb-bench kernels`), which set it picks by itself here: the threaded OpenBLAS "
        "when it is loaded (by processor model, or by OPENBLAS_CORETYPE), BLIS at its first call (by its own "
        "detection, or by BLIS_ARCH_TYPE, which BLIS 0.9 takes as the number of one of its configurations). "
        "Where that set is written for fewer instructions than the processor has, the peer is loaded with "
        "its best set forced through that same setting, and its figures and every ratio are those of the "
        "forced configuration; the library table names the set each library ran and what forced it.",
        "",
        f"## Results on {host['label']} (GFLOPS of the best call; ratios paired by round)",
        "",
        "| shape | " + " | ".join(label[k] for k in keys) +
        " | orb / serial | orb / best peer | peer / serial | check | rounds | others |",
        "|---|" + "---:|" * len(keys) + "---:|---:|---:|---|---:|---:|",
    ]
    for r in run["results"]:
        cells = [fmt_gflops(r["libraries"].get(k)) for k in keys]
        bad = [label[k] for k in keys if (r["libraries"].get(k) or {}).get("check") == "MISMATCH"]
        check = "MISMATCH: " + ", ".join(bad) if bad else "ok"
        peer = f" ({label[r['best_peer']]})" if r.get("best_peer") and r["ratio_best_peer"] is not None else ""
        out.append(f"| {r['name']} ({r['group']}) | " + " | ".join(cells) +
                   f" | {fmt_ratio(r['ratio_serial'])} | {fmt_ratio(r['ratio_best_peer'])}{peer} "
                   f"| {fmt_ratio(peer_scaling(r))} | {check} | {r.get('rounds', run['rounds'])} "
                   f"| {fmt_share(r.get('others_cpu_share'))} |")

    out += ["", f"## Targets on {host['label']}", "", "| target | shapes | verdict |", "|---|---|---|"]
    for v in verdicts:
        shapes = "<br>".join(f"{name}: {fmt_verdict(ratio, verdict)}" for name, ratio, verdict in v["shapes"])
        out.append(f"| {v['target']} | {shapes or '-'} | **{v['verdict']}** |")

    out += ["", "## Square double-precision products", "", f"![GFLOPS against size]({plot_name})", ""]
    return "\n".join(out)


def plot(run, path, host):
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    squares = [r for r in run["results"] if r["prec"] == "d" and r["group"] == "square"]
    squares.sort(key=lambda r: r["m"])
    fig, ax = plt.subplots(figsize=(7, 4.5), dpi=120)
    for lib, marker in zip(run["libraries"], "osD^v<>"):
        points = [(r["m"], r["libraries"][lib["key"]]["gflops"]) for r in squares if r["libraries"].get(lib["key"])]
        if not points:
            continue
        threads = f"{lib['threads']} thread{'s' if lib['threads'] != 1 else ''}"
        ax.plot(*zip(*points), marker=marker, label=f"{lib['label']} ({threads})")
    ax.set_xscale("log")
    ax.set_xticks([r["m"] for r in squares])
    ax.get_xaxis().set_major_formatter(matplotlib.ticker.ScalarFormatter())
    ax.set_xlabel("m = n = k")
    ax.set_ylabel("GFLOPS (best call)")
    ax.set_ylim(bottom=0)
    ax.set_title(f"dgemm on {host['label']}, {run['date'][:10]}", fontsize=9)
    ax.grid(True, alpha=0.3)
    ax.legend(fontsize=8)
    fig.tight_layout()
    fig.savefig(path)
    plt.close(fig)


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    source = parser.add_mutually_exclusive_group(required=True)
    source.add_argument("--json", help="results written by orb-bench gemm --json")
    source.add_argument("--run", metavar="ORB_BENCH", help="run this orb-bench first")
    parser.add_argument("--quick", action="store_true", help="with --run: the quick form")
    parser.add_argument("--out", default=os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "docs"),
                        help="directory for performance.md and gemm_gflops.png (default: docs/)")
    parser.add_argument("--note", help="text printed at the top of the report (how the run is to be read); "
                                       "Markdown, and its lines stay lines, so it may hold a table")
    args = parser.parse_args(argv)

    os.makedirs(args.out, exist_ok=True)
    host = machine()  # before the run, which rewrites files under docs/
    json_path, status = args.json, 0
    if args.run:
        json_path = os.path.join(args.out, "gemm_results.json")
        cmd = [args.run, "gemm", "--json", json_path] + (["--quick"] if args.quick else [])
        status = subprocess.run(cmd, check=False).returncode
        if status not in (0, 1):  # 1: a result differed, which the report shows before failing
            return status
    with open(json_path, encoding="utf-8") as f:
        run = json.load(f)

    verdicts = evaluate_targets(run["results"])
    report_path = os.path.join(args.out, "performance.md")
    notes = kept_notes(report_path)
    with open(report_path, "w", encoding="utf-8") as f:
        f.write(render_markdown(run, verdicts, host, args.note) + notes)
    try:
        plot(run, os.path.join(args.out, "gemm_gflops.png"), host)
    except ImportError:
        print("report.py: matplotlib is missing (Debian: python3-matplotlib); no plot written", file=sys.stderr)

    for v in verdicts:
        print(f"{v['verdict']:>6}  {v['target']}")
        for name, ratio, verdict in v["shapes"]:
            print(f"        {name}: {fmt_verdict(ratio, verdict)}")
    print(f"wrote {os.path.normpath(os.path.join(args.out, 'performance.md'))}")
    return status


if __name__ == "__main__":
    sys.exit(main())
