#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Runs the benchmarks of a build and prints one table, with the machine it ran on.

    report.py --build build [--quick]

Each benchmark prints a JSON object as its last line; this script only reads
those. The ratio is the module's speed divided by the side-by-side run's
speed: 1.00 is as fast, 0.50 half as fast.
"""

import argparse
import json
import os
import platform
import sqlite3
import subprocess
import sys


def run(build, name, *args):
    binary = os.path.join(build, "bench", name)
    if not os.access(binary, os.X_OK):
        return None
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    print("running %s %s..." % (name, " ".join(args)), file=sys.stderr, flush=True)
    done = subprocess.run([binary, *args], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          env=env, encoding="utf-8", timeout=1800)
    lines = [line for line in done.stdout.splitlines() if line.startswith("{")]
    if done.returncode != 0 or not lines:
        return {"failed": "%s exited with %d" % (name, done.returncode)}
    return json.loads(lines[-1])


def machine():
    model = "unknown CPU"
    try:
        with open("/proc/cpuinfo") as f:
            model = next(line.split(":", 1)[1].strip() for line in f if line.startswith("model name"))
    except (OSError, StopIteration):
        pass
    memory = ""
    try:
        with open("/proc/meminfo") as f:
            kib = int(next(line.split()[1] for line in f if line.startswith("MemTotal")))
            memory = ", %.0f GiB RAM" % (kib / 1024 / 1024)
    except (OSError, StopIteration):
        pass
    system = platform.system()
    try:
        with open("/etc/os-release") as f:
            system = next(line.split("=", 1)[1].strip().strip('"') for line in f if line.startswith("PRETTY_NAME"))
    except (OSError, StopIteration):
        pass
    qt = subprocess.run(["dpkg-query", "-W", "-f=${Version}", "qtbase5-dev"], stdout=subprocess.PIPE,
                        stderr=subprocess.DEVNULL, encoding="utf-8").stdout.split("+")[0] or "?"
    return "%s, %d cores%s; %s, kernel %s; Qt %s, SQLite %s" % (
        model, os.cpu_count() or 0, memory, system, platform.release(), qt, sqlite3.sqlite_version)


def rate(value, unit):
    return "{:,.0f} {}".format(value, unit)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True)
    parser.add_argument("--quick", action="store_true", help="smaller runs, for a check that all benches work")
    args = parser.parse_args()
    quick = args.quick

    rows = []
    missing = "missing"

    messaging = run(args.build, "bench_messaging", *(["20000"] if quick else []))
    for result in (messaging or {}).get("results", []):
        rows.append(("parse and dispatch, %d frame%s a text" % (result["framesPerText"],
                                                               "s" if result["framesPerText"] > 1 else ""),
                     rate(result["dispatch"], "msg/s"), "bare JSON parse " + rate(result["bareParse"], "msg/s"),
                     result["dispatch"] / result["bareParse"]))
    if not messaging or "failed" in messaging:
        rows.append(("parse and dispatch", (messaging or {}).get("failed", missing), "", None))

    store = run(args.build, "bench_messagestore", *(["1000"] if quick else []))
    if store and "failed" not in store:
        rows.append(("ingest: %d received messages stored" % store["messages"], rate(store["stored"], "msg/s"),
                     "plain INSERT loop " + rate(store["plainInsert"], "rows/s"),
                     store["stored"] / store["plainInsert"]))
    else:
        rows.append(("ingest", (store or {}).get("failed", missing), "", None))

    conversation = run(args.build, "bench_conversation", *(["2000"] if quick else []))
    if conversation and "failed" not in conversation:
        n = conversation["messages"]
        rows.append(("catch-up of {:,} queued messages after a reconnect".format(n),
                     "%.2f s (%s)" % (conversation["catchUp"], rate(n / conversation["catchUp"], "msg/s")),
                     "bare WebSocket drain %.2f s" % conversation["bareDrain"],
                     conversation["bareDrain"] / conversation["catchUp"]))
    else:
        rows.append(("catch-up after a reconnect", (conversation or {}).get("failed", missing), "", None))

    upload = run(args.build, "bench_upload", *(["20"] if quick else []))
    if upload and "failed" not in upload:
        rows.append(("upload of a %d MiB file (%.0f MiB more memory at the peak)" % (
                         upload["mebibytes"], upload["peakMiB"]),
                     "%.1f MiB/s" % upload["module"], "curl, the same blocks: %.1f MiB/s" % upload["curl"],
                     upload["module"] / upload["curl"]))
    else:
        rows.append(("upload throughput", (upload or {}).get("failed", missing), "curl", None))

    if conversation and "failed" not in conversation:
        rows.append(("read a {:,}-message conversation with messages()".format(conversation["rows"]),
                     "%.1f ms" % conversation["readMs"], "plain SELECT %.1f ms" % conversation["plainSelectMs"],
                     conversation["plainSelectMs"] / conversation["readMs"]))
    else:
        rows.append(("read a long conversation", (conversation or {}).get("failed", missing), "", None))

    chat = run(args.build, "bench_chatwindow", *(["2000", "200"] if quick else []))
    if chat and "failed" not in chat:
        for key in ("short", "long"):
            page = chat[key]
            rows.append(("open a {:,}-message conversation until laid out ({:.1f} KiB a row at the peak)".format(
                             page["messages"], page["kibPerRow"]),
                         "%.0f ms" % page["ms"],
                         "plain QLabel rows %.0f ms (%.1f KiB a row)" % (page["plainMs"], page["plainKibPerRow"]),
                         page["plainMs"] / page["ms"]))
        themed = chat["themed"]
        rows.append(("the same {:,} under the theme ({:.1f} KiB a row at the peak)".format(
                         themed["messages"], themed["kibPerRow"]),
                     "%.0f ms" % themed["ms"],
                     "plain QLabel rows %.0f ms (%.1f KiB a row)" % (themed["plainMs"], themed["plainKibPerRow"]),
                     themed["plainMs"] / themed["ms"]))
        photos = chat["photos"]
        rows.append(("open 200 picture rows of 12-megapixel photos (%.0f MiB more than as texts)" % photos["extraMiB"],
                     "%.0f ms" % photos["ms"], "the same rows as texts %.0f ms" % photos["textMs"],
                     photos["textMs"] / photos["ms"]))
        arrivals = chat["burst"]
        rows.append(("1,000 messages arriving into an open page (%d scroll%s, %d layout request%s)" % (
                         arrivals["scrolls"], "" if arrivals["scrolls"] == 1 else "s",
                         arrivals["layouts"], "" if arrivals["layouts"] == 1 else "s"),
                     "%.0f ms" % arrivals["ms"], "plain labels appended %.0f ms" % arrivals["plainMs"],
                     arrivals["plainMs"] / arrivals["ms"]))
        listed = chat["list"]
        rows.append(("load the conversation list of {:,}".format(listed["conversations"]), "%.0f ms" % listed["ms"],
                     "plain QListWidget %.0f ms" % listed["plainMs"], listed["plainMs"] / listed["ms"]))
        rows.append(("the same list under the theme", "%.0f ms" % listed["themedMs"],
                     "plain QListWidget %.0f ms" % listed["themedPlainMs"],
                     listed["themedPlainMs"] / listed["themedMs"]))
    else:
        rows.append(("chat window", (chat or {}).get("failed", missing), "", None))

    host = run(args.build, "bench_desktophost", *(["300"] if quick else []))
    if host and "failed" not in host:
        opened, closed = host["open"], host["closed"]
        rows.append(("desktop host: {:,} texts arriving into an open conversation ({:.1f} KiB a message at the peak)".format(
                         host["messages"], opened["peakKibPerMessage"]),
                     "%.1f KiB a message resident" % opened["kibPerMessage"],
                     "no conversation open: %.1f KiB (%.1f at the peak)" % (closed["kibPerMessage"],
                                                                            closed["peakKibPerMessage"]),
                     None))
        burst = host["burst"]
        rows.append(("desktop host: the same texts all at once, conversation open (peak)",
                     "%.1f KiB a message" % burst["open"]["peakKibPerMessage"],
                     "no conversation open: %.1f KiB" % burst["closed"]["peakKibPerMessage"], None))
    else:
        rows.append(("desktop host memory", (host or {}).get("failed", missing), "", None))

    friends = run(args.build, "bench_friendpage", *(["100", "200"] if quick else []))
    if friends and "failed" not in friends:
        for size in friends["sizes"]:
            rows.append(("friend page of {:,} friends with portraits".format(size["friends"]),
                         "%.0f ms" % size["pageMs"], "plain QListWidget %.0f ms" % size["plainMs"],
                         size["plainMs"] / size["pageMs"]))
        for size in friends["sizes"]:
            rows.append(("sign-in merge reporting {:,} friends changed, page open".format(size["friends"]),
                         "%.0f ms (%.2f ms a friend)" % (size["mergeMs"], size["mergeMs"] / size["friends"]),
                         "the same merge with no page %.0f ms" % size["storeMergeMs"],
                         size["storeMergeMs"] / size["mergeMs"]))
    else:
        rows.append(("friend page", (friends or {}).get("failed", missing), "", None))

    search = run(args.build, "bench_search", *(["20000", "20"] if quick else []))
    if search and "failed" not in search:
        for query in search["queries"]:
            rows.append(("search \"%s\" in {:,} messages of %d conversations ({} hits)".format(
                             search["messages"], query["hits"]) % (query["query"], search["conversations"]),
                         "%.0f ms" % query["ms"], "bare LIKE statements %.0f ms" % query["bareMs"],
                         query["bareMs"] / query["ms"]))
        rows.append(("longest GUI thread pause while searching", "%.0f ms" % search["guiPauseMs"], "", None))
    else:
        rows.append(("search", (search or {}).get("failed", missing), "", None))

    print("Machine: %s" % machine())
    print()
    print("| measure | KvMess | side by side | ratio |")
    print("|---|---|---|---|")
    for measure, module, side, ratio in rows:
        print("| %s | %s | %s | %s |" % (measure, module, side, "%.2f" % ratio if ratio is not None else "—"))
    failed = [r for r in rows if r[1].startswith(("bench_", "missing"))]
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
