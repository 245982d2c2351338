#!/usr/bin/env python3
"""Mutation check of the test suite: does each test binary notice small faults in its folder's code?

  scripts/mutate.py sample --seed 7 --count 250          # draw the mutants, build/mutation/sample.json
  scripts/mutate.py run --report build/mutation/before.json [--only simlink,service]
  scripts/mutate.py compare build/mutation/before.json build/mutation/after.json

`run` copies the tracked files of the working tree into build/mutation/src (only files whose bytes
differ, so the scratch build stays incremental), builds there once (build/mutation/bld, Ninja, -O0),
checks that every test binary passes unmutated, then for each mutant: writes it into the scratch copy,
rebuilds only test_<folder> (the mutated file, the library, the links), runs that binary with a timeout
and restores the file. A mutant whose build fails is "invalid" and stays out of the ratio; a failing or
hanging test run kills it. The report is written after every mutant, so a run can be resumed; the
survivors go to a text file next to it. Only .cpp files are mutated: a header would rebuild half the tree.
"""
import argparse
import json
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DEFAULT_FOLDERS = ["common", "frame", "service", "simlink", "liveries", "airports"]
WORK = os.path.join(ROOT, "build", "mutation")

# ---------------------------------------------------------------------------------------------------------
# Drawing mutants


def mask_line(line, in_block):
    """The line with string and char literals and comments blanked (same length), and the block state."""
    out = []
    i, n = 0, len(line)
    while i < n:
        if in_block:
            end = line.find("*/", i)
            if end < 0:
                out.append(" " * (n - i))
                return "".join(out), True
            out.append(" " * (end + 2 - i))
            i = end + 2
            in_block = False
            continue
        c = line[i]
        if line.startswith("//", i):
            out.append(" " * (n - i))
            break
        if line.startswith("/*", i):
            in_block = True
            continue
        if c in "\"'":
            j = i + 1
            while j < n and line[j] != c:
                j += 2 if line[j] == "\\" else 1
            out.append(c + " " * (min(j, n) - i - 1) + (c if j < n else ""))
            i = j + 1
            continue
        out.append(c)
        i += 1
    return "".join(out), in_block


def find_close(masked, open_at):
    depth = 0
    for k in range(open_at, len(masked)):
        if masked[k] == "(":
            depth += 1
        elif masked[k] == ")":
            depth -= 1
            if depth == 0:
                return k
    return -1


SWAPS = [(" <= ", " < "), (" < ", " <= "), (" >= ", " > "), (" > ", " >= "), (" == ", " != "), (" != ", " == "),
         (" && ", " || "), (" || ", " && "), (" + ", " - "), (" - ", " + "), (" += ", " -= "), (" -= ", " += ")]
DECL = re.compile(r"^(static\s+|const\s+|constexpr\s+)*[\w:]+(<[^;]*>)?[\s*&]+\w+\s*(=|\{|;|\(|\[)")
NOT_DELETABLE = re.compile(r"^(return|break|continue|case|default|goto|throw|using|typedef|static_assert|"
                           r"namespace|struct|class|enum|template|public|private|else|do)\b")
INT = re.compile(r"(?<![\w.'])(\d+)(?![\w.'])")


def line_mutants(lines, idx, masked, prev_masked):
    """Every mutant of one line: (operator, mutated line)."""
    line = lines[idx]
    text = masked.strip()
    if not text or text.startswith("#") or 'R"' in line or text.startswith("static_assert"):
        return []
    found = []
    for old, new in SWAPS:
        for m in re.finditer(re.escape(old), masked):
            found.append((old.strip() + "->" + new.strip(), line[:m.start()] + new + line[m.end():]))
    for word, other in (("true", "false"), ("false", "true")):
        for m in re.finditer(r"\b%s\b" % word, masked):
            found.append((word + "->" + other, line[:m.start()] + other + line[m.end():]))
    if not text.startswith(("case ", "template")) and "[" not in text[:1]:
        for m in INT.finditer(masked):
            value = int(m.group(1))
            for delta in (1, -1):
                if value + delta >= 0:
                    found.append(("%d->%d" % (value, value + delta),
                                  line[:m.start()] + str(value + delta) + line[m.end():]))
    for m in re.finditer(r"\b(if|while) \(", masked):
        open_at = m.end() - 1
        close = find_close(masked, open_at)
        if close > 0:
            cond = line[open_at + 1:close]
            found.append(("negate " + m.group(1), line[:open_at + 1] + "!(" + cond + ")" + line[close:]))
    m = re.match(r"^(\s*)return (.+);\s*$", masked)
    if m and masked.rstrip().endswith(";") and m.group(2).strip() not in ("{}", "true", "false"):
        found.append(("return {}", m.group(1) + "return {};"))
    prev = prev_masked.rstrip()
    if (text.endswith(";") and (prev == "" or prev.endswith((";", "{", "}", ":"))) and
            not NOT_DELETABLE.match(text) and not DECL.match(text) and text != ";"):
        found.append(("delete line", ""))
    return found


def draw(args):
    folders = args.folders.split(",")
    candidates = []
    for folder in folders:
        for base, _, files in sorted(os.walk(os.path.join(ROOT, folder))):
            for name in sorted(files):
                # the Windows-only files do not build here: their mutants could never be killed
                if not name.endswith(".cpp") or name.endswith("_win32.cpp"):
                    continue
                path = os.path.join(base, name)
                rel = os.path.relpath(path, ROOT)
                with open(path, encoding="utf-8") as f:
                    lines = f.read().split("\n")
                in_block = False
                prev_masked = ""
                for idx in range(len(lines)):
                    masked, in_block = mask_line(lines[idx], in_block)
                    for op, mutated in line_mutants(lines, idx, masked, prev_masked):
                        candidates.append({"file": rel, "line": idx + 1, "op": op, "original": lines[idx],
                                           "mutated": mutated})
                    if masked.strip():
                        prev_masked = masked
    # Each folder gets a share by the square root of its candidates: the big folders still get the most,
    # the small ones enough to say something.
    by_folder = {}
    for c in candidates:
        by_folder.setdefault(c["file"].split("/")[0], []).append(c)
    weights = {f: len(cs) ** 0.5 for f, cs in by_folder.items()}
    rng = random.Random(args.seed)
    chosen = []
    for folder in sorted(by_folder):
        quota = round(args.count * weights[folder] / sum(weights.values()))
        chosen += rng.sample(by_folder[folder], min(quota, len(by_folder[folder])))
    chosen.sort(key=lambda c: (c["file"], c["line"], c["op"], c["mutated"]))
    for number, mutant in enumerate(chosen):
        mutant["id"] = "m%03d" % number
    os.makedirs(os.path.dirname(args.sample), exist_ok=True)
    with open(args.sample, "w", encoding="utf-8") as f:
        json.dump({"seed": args.seed, "folders": folders, "mutants": chosen}, f, indent=1)
    per_folder = {}
    for mutant in chosen:
        per_folder[mutant["file"].split("/")[0]] = per_folder.get(mutant["file"].split("/")[0], 0) + 1
    print("%d candidates, %d drawn with seed %d: %s -> %s" %
          (len(candidates), len(chosen), args.seed, per_folder, args.sample))


# ---------------------------------------------------------------------------------------------------------
# Running them


def copy_if_changed(origin, target):
    with open(origin, "rb") as f:
        data = f.read()
    if os.path.isfile(target):
        with open(target, "rb") as f:
            if f.read() == data:
                return
    os.makedirs(os.path.dirname(target), exist_ok=True)
    with open(target, "wb") as f:
        f.write(data)
    shutil.copymode(origin, target)


def sync_scratch(src, keep_tests):
    """Copies the tracked (and new, unignored) files of the working tree; touches only those that differ.
    With keep_tests the scratch keeps its own tests/ (the suite being compared against)."""
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "-z"], cwd=ROOT, check=True,
                            capture_output=True).stdout.decode().split("\0")
    for rel in filter(None, listed):
        origin = os.path.join(ROOT, rel)
        if not os.path.isfile(origin) or (keep_tests and rel.startswith("tests/")):
            continue
        copy_if_changed(origin, os.path.join(src, rel))


def sync_after_tests(src, folder):
    """The working tree's tests/<folder> as tests/<folder>_after of the scratch: a second test binary,
    test_<folder>_after, built and run against the same mutant."""
    origin_dir = os.path.join(ROOT, "tests", folder)
    target_dir = os.path.join(src, "tests", folder + "_after")
    wanted = set()
    for base, _, files in os.walk(origin_dir):
        for name in files:
            rel = os.path.relpath(os.path.join(base, name), origin_dir)
            wanted.add(rel)
            target = os.path.join(target_dir, rel)
            if name == "extra.cmake":
                with open(os.path.join(base, name), encoding="utf-8") as f:
                    text = re.sub(r"\btest_%s\b" % folder, "test_%s_after" % folder, f.read())
                os.makedirs(os.path.dirname(target), exist_ok=True)
                if not os.path.isfile(target) or open(target, encoding="utf-8").read() != text:
                    with open(target, "w", encoding="utf-8") as f:
                        f.write(text)
            else:
                copy_if_changed(os.path.join(base, name), target)
    for base, _, files in os.walk(target_dir):
        for name in files:
            if os.path.relpath(os.path.join(base, name), target_dir) not in wanted:
                os.remove(os.path.join(base, name))


def build(bld, targets, timeout):
    try:
        done = subprocess.run(["cmake", "--build", bld, "--target", *targets, "-j2"], capture_output=True,
                              timeout=timeout)
        return done.returncode == 0, (done.stdout + done.stderr).decode(errors="replace")[-3000:]
    except subprocess.TimeoutExpired:
        return False, "build timed out"


def gtest_filters(slow, excluded):
    """The gtest filters of one run: the quick tests together, then each slow one alone; `excluded` in none."""
    left_out = list(slow) + list(excluded)
    return [("-" + ":".join(left_out)) if left_out else "*"] + list(slow)


def run_tests(bld, binary, timeout, slow=(), excluded=()):
    """Runs the binary; tests that wait on real time (`slow`) run each in a process of its own beside the
    rest, so a mutant costs the longest of them, not their sum. Killed as soon as one process fails."""
    env = dict(os.environ, GTEST_FAIL_FAST="1", GTEST_BRIEF="1")
    filters = gtest_filters(slow, excluded)
    started = time.monotonic()
    procs = [subprocess.Popen([os.path.join(bld, "tests", binary), "--gtest_filter=" + f], cwd=bld,
                              env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              start_new_session=True) for f in filters]
    outcome = "passed"
    try:
        while any(p.poll() is None for p in procs):
            if any(p.returncode not in (None, 0) for p in procs):
                outcome = "failed"
                break
            if time.monotonic() - started > timeout:
                outcome = "timeout"
                break
            time.sleep(0.05)
        if outcome == "passed" and any(p.returncode != 0 for p in procs):
            outcome = "failed"
    finally:
        for p in procs:
            if p.poll() is None:
                # the whole group: the end-to-end runs' program and doubles end with their test
                os.killpg(p.pid, signal.SIGKILL)
                p.wait()
    return outcome, time.monotonic() - started


def run_tests_each(bld, binary, timeout, slow=(), excluded=()):
    """Like run_tests, but every test runs to its end (no fail-fast): the outcome and the names of the
    tests that failed, so a report can say which tests kill which mutant. A process that hangs past the
    limit counts its whole filter as the killer."""
    env = dict(os.environ, GTEST_BRIEF="1")
    env.pop("GTEST_FAIL_FAST", None)
    filters = gtest_filters(slow, excluded)
    outputs = [os.path.join(bld, "mutation-each-%s-%d.json" % (binary, k)) for k in range(len(filters))]
    for out in outputs:
        if os.path.exists(out):
            os.remove(out)
    started = time.monotonic()
    procs = [subprocess.Popen([os.path.join(bld, "tests", binary), "--gtest_filter=" + f,
                               "--gtest_output=json:" + out], cwd=bld, env=env, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, start_new_session=True)
             for f, out in zip(filters, outputs)]
    killers, outcome = [], "passed"
    try:
        while any(p.poll() is None for p in procs) and time.monotonic() - started <= timeout:
            time.sleep(0.05)
    finally:
        for p, f, out in zip(procs, filters, outputs):
            if p.poll() is None:
                os.killpg(p.pid, signal.SIGKILL)
                p.wait()
                outcome = "timeout"
                killers.append("timeout:" + f)
                continue
            named = []
            if os.path.exists(out):
                with open(out, encoding="utf-8") as fh:
                    for suite in json.load(fh)["testsuites"]:
                        for test in suite["testsuite"]:
                            if test.get("failures"):
                                named.append(suite["name"] + "." + test["name"])
            if p.returncode != 0:
                outcome = "failed" if outcome == "passed" else outcome
                # a crash leaves no report: the filter it ran is the killer
                killers += named or ["crash:" + f]
    return outcome, killers


def run_filters(bld, specs, timeout):
    """Runs each (binary, gtest filter) in a process of its own, all at once; the outcome of each."""
    env = dict(os.environ, GTEST_FAIL_FAST="1", GTEST_BRIEF="1")
    started = time.monotonic()
    procs = [subprocess.Popen([os.path.join(bld, "tests", b), "--gtest_filter=" + f], cwd=bld, env=env,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
             for b, f in specs]
    outcomes = []
    try:
        while any(p.poll() is None for p in procs) and time.monotonic() - started <= timeout:
            time.sleep(0.05)
    finally:
        for p in procs:
            if p.poll() is None:
                os.killpg(p.pid, signal.SIGKILL)
                p.wait()
                outcomes.append("timeout")
            else:
                outcomes.append("passed" if p.returncode == 0 else "failed")
    return outcomes


def time_tests(bld, binary, excluded=()):
    """Per-test durations of one unmutated run (the excluded tests left out); the names of those slower than 2 s."""
    report = os.path.join(bld, "mutation-times-%s.json" % binary)
    subprocess.run([os.path.join(bld, "tests", binary), "--gtest_output=json:" + report,
                    "--gtest_filter=" + gtest_filters((), excluded)[0]], cwd=bld, capture_output=True)
    slow = []
    with open(report, encoding="utf-8") as f:
        for suite in json.load(f)["testsuites"]:
            for test in suite["testsuite"]:
                if float(test.get("time", "0s").rstrip("s")) > 2.0:
                    slow.append(suite["name"] + "." + test["name"])
    return slow


def locate(lines, mutant):
    """The line of the mutant, also when edits elsewhere in the file moved it a little."""
    at = mutant["line"] - 1
    if 0 <= at < len(lines) and lines[at] == mutant["original"]:
        return at
    near = [i for i, text in enumerate(lines) if text == mutant["original"]]
    return min(near, key=lambda i: abs(i - at)) if near else -1


def run(args):
    """Each mutant is built once; the scratch's own tests (test_<folder>) give the report, and with
    --after-report the working tree's tests (test_<folder>_after) give a second one for the same mutants."""
    with open(args.sample, encoding="utf-8") as f:
        sample = json.load(f)
    mutants = sample["mutants"]
    order = args.only.split(",") if args.only else sorted({m["file"].split("/")[0] for m in mutants})
    mutants = sorted((m for m in mutants if m["file"].split("/")[0] in order),
                     key=lambda m: (order.index(m["file"].split("/")[0]), m["id"]))
    sides = [("", args.report)] + ([("_after", args.after_report)] if args.after_report else [])
    if args.rerun_survivors:
        # tests written since: only the working tree's side runs again, on the mutants it let survive
        sides = sides[1:]
    reports = {}
    for suffix, path in sides:
        reports[suffix] = {"sample": args.sample, "results": {}}
        if os.path.exists(path) and not args.fresh:
            with open(path, encoding="utf-8") as f:
                reports[suffix] = json.load(f)
    work = os.path.abspath(args.work)
    src, bld = os.path.join(work, "src"), os.path.join(work, "bld")
    fresh_scratch = not os.path.isdir(os.path.join(src, "tests"))
    os.makedirs(src, exist_ok=True)
    # A scratch made earlier keeps its tests: they are the suite "before".
    sync_scratch(src, keep_tests=not fresh_scratch and (args.after_report is not None or args.keep_tests))
    if not os.path.exists(os.path.join(bld, "build.ninja")):
        subprocess.run(["cmake", "-S", src, "-B", bld, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                        "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DCMAKE_C_FLAGS_DEBUG=-O0", "-DZARK_BENCH=OFF"],
                       check=True, capture_output=True)

    current = {}  # path -> original text, for the restore

    def restore():
        for path, text in current.items():
            with open(path, "w", encoding="utf-8") as f:
                f.write(text)
        current.clear()

    def on_signal(signum, _frame):
        restore()
        sys.exit(128 + signum)

    signal.signal(signal.SIGTERM, on_signal)
    signal.signal(signal.SIGINT, on_signal)
    limits, slow, excluded, prepared = {}, {}, {}, set()
    try:
        for mutant in mutants:
            folder = mutant["file"].split("/")[0]
            if args.rerun_survivors:
                if reports["_after"]["results"].get(mutant["id"], {}).get("status") != "survived":
                    continue
            elif all(mutant["id"] in reports[sfx]["results"] for sfx, _ in sides):
                continue
            elif args.known_only and mutant["id"] not in reports[""]["results"]:
                continue
            binaries = ["test_" + folder + sfx for sfx, _ in sides]
            # a side that already holds this mutant keeps its result: only the missing side runs
            done = {sfx: reports[sfx]["results"][mutant["id"]] for sfx, _ in sides
                    if not args.rerun_survivors and mutant["id"] in reports[sfx]["results"]}
            if folder not in prepared:
                # the working tree's tests of this folder as they stand now
                if args.after_report:
                    added = not os.path.isdir(os.path.join(src, "tests", folder + "_after"))
                    sync_after_tests(src, folder)
                    if added:  # the folder list of tests/ is globbed at configure time only
                        subprocess.run(["cmake", bld], check=True, capture_output=True)
                ok, log = build(bld, binaries, 3600)
                if not ok:
                    sys.exit("the unmutated tree does not build:\n" + log)
                for binary in binaries:
                    if args.exclude:
                        # tests left out of every run, on both sides; the reports say which
                        excluded[binary] = args.exclude.split(":")
                        for sfx, _ in sides:
                            reports[sfx]["excluded"] = args.exclude
                    slow[binary] = time_tests(bld, binary, excluded.get(binary, ()))
                    outcome, seconds = run_tests(bld, binary, 900, slow[binary], excluded.get(binary, ()))
                    if outcome != "passed":
                        sys.exit("%s fails without a mutant; mend that first" % binary)
                    limits[binary] = max(20.0, 3 * seconds + 10)
                    print("%s passes unmutated in %.1f s (limit %.0f s)" % (binary, seconds, limits[binary]),
                          flush=True)
                prepared.add(folder)
            path = os.path.join(src, mutant["file"])
            with open(path, encoding="utf-8") as f:
                text = f.read()
            lines = text.split("\n")
            at = locate(lines, mutant)
            started = time.monotonic()
            statuses, killers = {}, {}
            if at < 0:
                statuses = {sfx: "missing" for sfx, _ in sides}
            else:
                current[path] = text
                lines[at] = mutant["mutated"]
                with open(path, "w", encoding="utf-8") as f:
                    f.write("\n".join(lines))
                ok, _ = build(bld, [b for (sfx, _), b in zip(sides, binaries) if sfx not in done], 900)
                shared = sorted(set(slow[binaries[0]]) & set(slow[binaries[-1]])) if args.share_slow else []
                if ok and len(binaries) == 2 and shared and not done:
                    # The slow tests both suites hold unchanged (the end-to-end runs) run once, for both.
                    specs = [(b, "-" + ":".join(slow[b])) for b in binaries]
                    specs += [(binaries[0], name) for name in shared]
                    outcomes = run_filters(bld, specs, max(limits[b] for b in binaries))
                    shared_failed = any(o != "passed" for o in outcomes[2:])
                    for (sfx, _), own in zip(sides, outcomes[:2]):
                        statuses[sfx] = "killed" if own != "passed" or shared_failed else "survived"
                for (sfx, _), binary in zip(sides, binaries):
                    if sfx in statuses:
                        continue
                    if sfx in done:
                        statuses[sfx] = done[sfx]["status"]
                        if "killers" in done[sfx]:
                            killers[sfx] = done[sfx]["killers"]
                    elif not ok:
                        statuses[sfx] = "invalid"
                    elif args.per_test:
                        outcome, killers[sfx] = run_tests_each(bld, binary, limits[binary], slow[binary],
                                                               excluded.get(binary, ()))
                        statuses[sfx] = "survived" if outcome == "passed" else "killed"
                    else:
                        outcome, _ = run_tests(bld, binary, limits[binary], slow[binary], excluded.get(binary, ()))
                        statuses[sfx] = "survived" if outcome == "passed" else "killed"
                restore()
            for sfx, out in sides:
                reports[sfx]["results"][mutant["id"]] = dict(mutant, status=statuses[sfx], at=at + 1)
                if sfx in killers:
                    reports[sfx]["results"][mutant["id"]]["killers"] = killers[sfx]
                save(reports[sfx], out)
            print("%s %-8s %s %s:%d %s (%.0f s)" % (mutant["id"], statuses.get("", "-"), statuses.get("_after", ""),
                                                   mutant["file"], at + 1, mutant["op"],
                                                   time.monotonic() - started), flush=True)
    finally:
        restore()
    for sfx, out in sides:
        print("== " + (out))
        summary(reports[sfx])


def save(report, path):
    os.makedirs(os.path.dirname(os.path.abspath(path)), exist_ok=True)
    with open(path + ".tmp", "w", encoding="utf-8") as f:
        json.dump(report, f, indent=1)
    os.replace(path + ".tmp", path)
    survivors = [r for r in report["results"].values() if r["status"] == "survived"]
    with open(os.path.splitext(path)[0] + "-survivors.txt", "w", encoding="utf-8") as f:
        for r in sorted(survivors, key=lambda r: (r["file"], r["at"])):
            f.write("%s %s:%d  %s\n    - %s\n    + %s\n" % (r["id"], r["file"], r["at"], r["op"],
                                                         r["original"].strip(), r["mutated"].strip()))


def counts(report):
    tally = {}
    for r in report["results"].values():
        tally[r["status"]] = tally.get(r["status"], 0) + 1
    valid = tally.get("killed", 0) + tally.get("survived", 0)
    return tally, valid


def summary(report):
    tally, valid = counts(report)
    killed = tally.get("killed", 0)
    print("mutants %d, invalid %d, valid %d, killed %d (%.1f%%), survived %d" %
          (len(report["results"]), tally.get("invalid", 0), valid, killed, 100.0 * killed / max(valid, 1),
           tally.get("survived", 0)))
    per_folder = {}
    for r in report["results"].values():
        if r["status"] in ("killed", "survived"):
            entry = per_folder.setdefault(r["file"].split("/")[0], [0, 0])
            entry[0] += r["status"] == "killed"
            entry[1] += 1
    for folder, (k, v) in sorted(per_folder.items()):
        print("  %-9s %3d/%3d killed (%.0f%%)" % (folder, k, v, 100.0 * k / v))


def compare(args):
    reports = []
    for path in (args.before, args.after):
        with open(path, encoding="utf-8") as f:
            reports.append(json.load(f))
    for label, report in zip(("before", "after"), reports):
        print("== " + label)
        summary(report)
    before, after = reports[0]["results"], reports[1]["results"]
    lost = [i for i, r in sorted(before.items()) if r["status"] == "killed" and i in after and
            after[i]["status"] == "survived"]
    gained = [i for i, r in sorted(before.items()) if r["status"] == "survived" and i in after and
              after[i]["status"] == "killed"]
    print("killed before, survived after: %d %s" % (len(lost), " ".join(lost)))
    for i in lost:
        print("  %s %s:%d %s" % (i, before[i]["file"], before[i]["at"], before[i]["op"]))
    print("survived before, killed after: %d" % len(gained))
    return 1 if lost else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    sub = parser.add_subparsers(dest="command", required=True)
    p = sub.add_parser("sample", help="draw a seeded sample of mutants")
    p.add_argument("--seed", type=int, default=7)
    p.add_argument("--count", type=int, default=250)
    p.add_argument("--folders", default=",".join(DEFAULT_FOLDERS))
    p.add_argument("--sample", default=os.path.join(WORK, "sample.json"))
    p = sub.add_parser("run", help="build and test every mutant of the sample")
    p.add_argument("--sample", default=os.path.join(WORK, "sample.json"))
    p.add_argument("--report", default=os.path.join(WORK, "report.json"))
    p.add_argument("--after-report", help="also run the working tree's tests on each mutant, into this report")
    p.add_argument("--work", default=WORK, help="scratch folder: src/ copy and bld/ build")
    p.add_argument("--only", help="comma-separated folders to run now, in this order (the report keeps the others)")
    p.add_argument("--fresh", action="store_true", help="ignore results already in the report")
    p.add_argument("--share-slow", action="store_true",
                   help="slow tests of the same name in both suites (unchanged end-to-end runs) run once for both")
    p.add_argument("--per-test", action="store_true",
                   help="run every test to its end and keep the names of those that kill each mutant (slower)")
    p.add_argument("--exclude", help="gtest patterns (a:b) of tests left out of every run, on both sides, "
                                      "e.g. the end-to-end runs when their folder's code is not what they test")
    p.add_argument("--keep-tests", action="store_true",
                   help="the scratch keeps the tests it has (the suite before), also without --after-report")
    p.add_argument("--known-only", action="store_true",
                   help="only the mutants the first report already holds (an after run on a partly run sample)")
    p.add_argument("--rerun-survivors", action="store_true",
                   help="run the working tree's tests again on the mutants that survived them (needs --after-report)")
    p = sub.add_parser("compare", help="compare two reports of the same sample")
    p.add_argument("before")
    p.add_argument("after")
    args = parser.parse_args()
    if args.command == "sample":
        draw(args)
    elif args.command == "run":
        run(args)
    else:
        sys.exit(compare(args))


if __name__ == "__main__":
    main()
