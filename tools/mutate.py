#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""A small mutation check of the window tests.

Copies the tree to a scratch folder, builds it once, then plants each fault of
FAULTS on its own (one line changed), rebuilds, runs the CTest labels that cover
the changed file and puts the line back. A fault that no test notices survives.

    tools/mutate.py                 # every fault
    tools/mutate.py K1 M4           # just these
    tools/mutate.py --list

The scratch folder (default /tmp/kvmess-mutants, --scratch) keeps its build
between runs. Builds take the lock /tmp/kvmess-build.lock, as every build on a
shared machine should. A developer's tool, not part of CI.
"""

import argparse
import os
import shutil
import signal
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.dirname(HERE)
LOCK = "/tmp/kvmess-build.lock"

# (id, file, the line as it stands, the faulty line, labels to run, what a user would notice)
FAULTS = [
    # Faults that once slipped through the window tests.
    ("K1", "src/panel/groupwidget.cpp",
     "KvWindowLinks::createChat(enterpriseId, KvUserCommWidget::mainWidow(), true);",
     "KvWindowLinks::createChat(enterpriseId, KvUserCommWidget::mainWidow(), false);",
     "panel", "a team opened from the company page becomes a one-to-one chat"),
    ("K2", "src/chat/chatdialog.cpp",
     "ui->stackedWidget->removeWidget(pageOf(item));",
     "ui->stackedWidget->removeWidget(ui->stackedWidget->widget(0));",
     "chat", "closing one conversation takes another one's page away"),
    ("K3", "src/panel/friendmessageitemwidget.cpp",
     "ui->pushButtonHeadPortrait->addMsgCount(1);",
     "ui->pushButtonHeadPortrait->setMsgCount(1);",
     "chat|panel", "a hidden conversation's badge stays at 1"),
    ("K4", "src/panel/friendwidget.cpp",
     "letterHeaders.append(letter);",
     "Q_UNUSED(letterHeaders);",
     "panel", "two friends of one initial get two letter headers"),
    ("K5", "apps/desktop/desktopwindow.cpp",
     "connect(link, &KvWSCommunicationManager::onDisconnected, this, &KvDesktopWindow::slotUpdateTitle);",
     "Q_UNUSED(link);",
     "desktop", "the title says connected after the link dropped"),
    # Our own list.
    ("M1", "src/panel/usercommwidget.cpp",
     "label->setVisible(count != 0);",
     "label->setVisible(count > 1);",
     "panel|desktop|mainjob", "a page badge of 1 is not shown"),
    ("M2", "src/panel/usercommwidget.cpp",
     "ui->stackedWidget->setCurrentWidget(page);",
     "ui->stackedWidget->setCurrentIndex(0);",
     "panel|desktop|mainjob", "the page buttons do not change the page"),
    ("M3", "src/panel/msgheaderbutton.cpp",
     "countLabel->setText(QString::number(count));",
     "countLabel->setText(QString::number(n));",
     "panel|chat|mainjob", "a head badge shows the last step, not the count"),
    ("M4", "src/panel/msgheaderbutton.cpp",
     "countLabel->setVisible(n != 0);",
     "countLabel->setVisible(true);",
     "panel|chat|mainjob", "a badge of 0 stays on screen"),
    ("M5", "src/panel/friendmessagewidget.cpp",
     "insertItem(position == -1 ? count() : 0, item);",
     "insertItem(count(), item);",
     "panel|mainjob", "a new conversation appears at the bottom"),
    ("M6", "src/panel/friendmessagewidget.cpp",
     "if (userName == systemUserName)",
     "if (userName.isEmpty())",
     "panel", "the notices' account shows as a conversation"),
    ("M7", "src/panel/companywidget.cpp",
     "ui->widgetNone->setVisible(enterprises.isEmpty());",
     "ui->widgetNone->setVisible(true);",
     "panel", "'no team' stays over the teams"),
    ("M8", "src/panel/groupwidget.cpp",
     "ui->labelName->setText(tr(\"群聊：%1\").arg(info.name));",
     "ui->labelName->setText(tr(\"群聊：%1\").arg(info.enterpriseId));",
     "panel", "a team header shows its id"),
    ("M9", "src/chat/chatwidget.cpp",
     "    ui->textEdit->clear();\n}",
     "}",
     "chat", "the input keeps the text after sending"),
    ("M10", "src/chat/newfriendrequestwidget.cpp",
     "ui->labelStatus->setText(tr(\"已同意\"));",
     "ui->labelStatus->setText(tr(\"已忽略\"));",
     "chat|mainjob", "an agreed request reads as ignored"),
    ("M11", "src/panel/noticeshowdialog.cpp",
     "ui->pushButtonNext->setEnabled(false);",
     "ui->pushButtonNext->setEnabled(true);",
     "panel", "'next' stays enabled on the last notice"),
    ("M12", "src/chat/chatdialog.cpp",
     "ui->listWidget->insertItem(0, item);",
     "ui->listWidget->addItem(item);",
     "chat", "a newly opened conversation's tab goes to the bottom"),
    ("M13", "src/panel/friendwidget.cpp",
     "item->data(NickNameRole).toString().contains(text, Qt::CaseInsensitive);",
     "item->data(NickNameRole).toString().contains(text);",
     "panel", "friend search minds case"),
    ("M14", "src/chat/filewidget.cpp",
     "text = tr(\"下载成功\");",
     "text = tr(\"下载中...\");",
     "chat|mainjob", "a downloaded file still reads as downloading"),
    ("M15", "src/panel/noticemessagewidget.cpp",
     "ui->listWidget->insertItem(position == -1 ? ui->listWidget->count() : 0, item);",
     "ui->listWidget->insertItem(ui->listWidget->count(), item);",
     "panel|mainjob", "a new notice goes to the bottom"),
    ("M16", "src/platform/elidedlabel.cpp",
     "return fontMetrics().elidedText(oneLine(), Qt::ElideRight, contentsRect().width());",
     "return oneLine();",
     "panel|chat", "a long last message runs out of its row"),
    ("M17", "src/panel/friendwidget.cpp",
     "if (userName.isEmpty())\n        return;\n    KvWindowLinks::createChat(userName, KvUserCommWidget::mainWidow(), false);",
     "KvWindowLinks::createChat(userName, KvUserCommWidget::mainWidow(), false);",
     "panel", "double-clicking a letter header opens an empty chat"),
]


def run(cmd, cwd, timeout, env=None):
    try:
        done = subprocess.run(cmd, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              timeout=timeout, env=env)
        return done.returncode, done.stdout.decode(errors="replace")
    except subprocess.TimeoutExpired:
        return -1, "timed out"


def locked(cmd):
    return ["flock", LOCK] + cmd if shutil.which("flock") else cmd


def prepare(scratch, sync):
    tree = os.path.join(scratch, "tree")
    os.makedirs(tree, exist_ok=True)
    # The working tree as it is, uncommitted changes included; the build stays.
    if sync or not os.path.exists(os.path.join(tree, "CMakeLists.txt")):
        subprocess.run(["rsync", "-a", "--delete", "--exclude", "/build/", "--exclude", "/.git/",
                        SOURCE + "/", tree + "/"], check=True)
    build = os.path.join(tree, "build")
    code, out = run(locked(["cmake", "-S", tree, "-B", build, "-G", "Ninja",
                            "-DCMAKE_BUILD_TYPE=RelWithDebInfo"]), tree, 600)
    if code != 0:
        sys.exit("configure failed:\n" + out[-3000:])
    code, out = run(locked(["cmake", "--build", build]), tree, 3600)
    if code != 0:
        sys.exit("the unchanged tree does not build:\n" + out[-3000:])
    return tree, build


def targets(build, labels):
    """The executables the labels' tests run, and the hosts that scripts start."""
    code, out = run(["ctest", "--test-dir", build, "-L", labels, "-N", "-V"], build, 120)
    found = ["kvmess-console", "kvmess-desktop"]
    for line in out.splitlines():
        _, sep, command = line.partition("Test command: ")
        if sep and command.startswith(build + "/"):
            found.append(os.path.relpath(command.split()[0], build))
    return found


def check(tree, build, fault, timeout):
    ident, path, before, after, labels, _ = fault
    file = os.path.join(tree, path)
    with open(file, encoding="utf-8") as f:
        original = f.read()
    if original.count(before) != 1:
        return "stale"
    with open(file, "w", encoding="utf-8") as f:
        f.write(original.replace(before, after))
    try:
        # Only what the labels run: relinking every test for each fault is most of the time.
        code, out = run(locked(["cmake", "--build", build, "--target"] + targets(build, labels)), tree, 1800)
        if code != 0:
            return "no build"
        code, out = run(["ctest", "--test-dir", build, "-L", labels, "--timeout", "300"], tree, timeout)
        return "caught" if code != 0 else "survived"
    finally:
        # The next fault's build compiles this file back.
        with open(file, "w", encoding="utf-8") as f:
            f.write(original)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("ids", nargs="*")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--scratch", default="/tmp/kvmess-mutants")
    parser.add_argument("--keep", action="store_true", help="build the scratch tree as it is, without copying")
    parser.add_argument("--timeout", type=int, default=900, help="seconds for one fault's tests")
    args = parser.parse_args()
    chosen = [f for f in FAULTS if not args.ids or f[0] in args.ids]
    if args.list:
        for f in chosen:
            print("%-4s %-40s %s" % (f[0], f[1], f[5]))
        return 0
    # Stopped from outside, a planted fault is still put back.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    os.environ.setdefault("CCACHE_BASEDIR", args.scratch)
    tree, build = prepare(args.scratch, not args.keep)
    # A fault counts as caught when a test fails: only if the tests pass without it.
    labels = "|".join(sorted({label for f in chosen for label in f[4].split("|")}))
    code, out = run(["ctest", "--test-dir", build, "-L", labels, "--timeout", "300"], tree, args.timeout)
    if code != 0:
        sys.exit("the unchanged tree fails its tests, so no fault could be told caught:\n" + out[-3000:])
    results = {}
    for fault in chosen:
        started = time.monotonic()
        results[fault[0]] = check(tree, build, fault, args.timeout)
        print("%-4s %-9s %4.0fs  %s" % (fault[0], results[fault[0]], time.monotonic() - started, fault[5]),
              flush=True)
    counted = [r for r in results.values() if r in ("caught", "survived")]
    caught = counted.count("caught")
    print("caught %d of %d" % (caught, len(counted)), end="")
    others = len(results) - len(counted)
    print(" (%d stale or not built)" % others if others else "")
    return 0 if caught == len(counted) else 1


if __name__ == "__main__":
    sys.exit(main())
