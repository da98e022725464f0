#!/usr/bin/env python3
"""Plants single faults in a copy of the sources, one at a time, and tells which test finds each.

    scripts/plant_faults.py --number 200 --seed 1 onu_mng_lib
    scripts/plant_faults.py --number 200 --seed 1 onu_mng_platform/common --results found.json

A fault is one changed operator, constant, condition, result or dropped statement in a .cpp file. Faults that do not
compile do not count. The same seed plants the same faults in the same sources. The copy is in build/faults/. The tests
that take long run only on faults that all others miss, with fewer seeds and preemptions than usual. With --results, a later run tries the test that found the fault
last time first. Read the faults that survive: some of them change nothing that can be observed.
"""
import argparse
import json
import os
import pathlib
import random
import re
import resource
import shutil
import subprocess
import sys

OPERATORS = [
    # (what to find, what to write instead)
    (r" == ", " != "), (r" != ", " == "),
    (r" < (?!<)", " <= "), (r" <= ", " < "), (r" > (?!>)", " >= "), (r" >= ", " > "),
    (r" && ", " || "), (r" \|\| ", " && "),
    (r" \+ 1\b", ""), (r" - 1\b", ""), (r" \+ ", " - "), (r" - ", " + "), (r" \* (?=\w)", " + "),
    (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
    (r"\bif \((?!!)([^;{}]+)\) ", r"if (!(\1)) "), (r"\bif \(!", "if ("), (r" return !", " return "),
    (r"\breturn ONU_MNG_OK;", "return ONU_MNG_FAILURE;"), (r"\breturn ONU_MNG_FAILURE;", "return ONU_MNG_OK;"),
    (r"\+\+(?=\w)", "--"), (r" \+= ", " -= "), (r" \|= ", " &= "),
    (r"(?<=\n)( +)[\w.>:\-]+\([^;{}]*\);(?=\n)", r"\1;"),  # a dropped call
    (r"(?<=\n)( +)[\w.>\[\]\-]+ = [^;{}]*;(?=\n)", r"\1;"),  # a dropped assignment
]
SKIPPED_LINES = ("//", "#", "static_assert", "using ", "constexpr ", "inline constexpr", "LOG(", "extern ")
# They build or compare the tree itself, so no planted fault reaches them.
NOT_RUN = "package|exports|^doc_|header|include_rules|no_platform|hardening|_session$|_version$"
# They find most faults and are built in a moment, so they are tried before the rest is built.
FIRST = {
    "onu_mng_lib": ["variant_test", "module_mgr_test", "state_machine_test", "onu_identity_test", "cli_commands_test",
                    "trace_registry_test", "system_test"],
    "onu_mng_platform/common": ["cli_transcript_test", "cli_execute_test", "cli_filter_test", "cli_random_test",
                                "platform_contract_posix_test", "platform_posix_test"],
}
LONG = "sim_(board|timing|explore|sweep|olt_host)|contract_sim|olt_host_4096|process_end|cli_server"


def sites(tree, rooms):
    for room in rooms:
        for path in sorted((tree / room).rglob("*.cpp")):
            text = path.read_text()
            for number, (pattern, _) in enumerate(OPERATORS):
                for match in re.finditer(pattern, text):
                    start = text.rfind("\n", 0, match.start() + 1) + 1
                    line = text[start:text.find("\n", match.end())].strip()
                    before = text[start:match.start()]
                    if line.startswith(SKIPPED_LINES) or "//" in before or before.count('"') % 2:
                        continue
                    yield room, path, number, match.start()


def planted(text, number, position):
    pattern, replacement = OPERATORS[number]
    match = re.compile(pattern).search(text, position)
    return text[:match.start()] + match.expand(replacement) + text[match.end():]


def run(arguments, seconds, cwd):
    """Returns the exit code and the output; 124 if the time is over."""
    with subprocess.Popen(arguments, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="replace", start_new_session=True) as process:
        try:
            output, _ = process.communicate(timeout=seconds)
            return process.returncode, output
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, 9)
            process.communicate()
            return 124, ""


class Copy:
    """The copy of the sources with its build."""

    def __init__(self, root, scratch):
        self.tree = scratch / "tree"
        self.build = scratch / "build"
        listed = subprocess.run(["git", "ls-files", "-z"], cwd=root, capture_output=True, text=True, check=True)
        names = {name for name in listed.stdout.split("\0") if name and (root / name).is_file()}
        for old in [path for path in self.tree.rglob("*") if path.is_file()]:
            if str(old.relative_to(self.tree)) not in names:
                old.unlink()
        for name in names:
            copied = self.tree / name
            if copied.is_file() and copied.read_bytes() == (root / name).read_bytes():
                continue  # keeps its time, so an earlier build of it stays good
            copied.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(root / name, copied)
        frames = root.parent / "shared"
        if frames.exists() and not (scratch / "shared").exists():
            (scratch / "shared").symlink_to(frames)
        linker = ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=mold"] if shutil.which("mold") else []
        subprocess.run(["cmake", "--preset", "dev", "-B", self.build, "-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O1 -D_GLIBCXX_ASSERTIONS",
                        "-DONU_MNG_CHECK_HEADERS=OFF", "-DONU_MNG_WERROR=OFF", "-DONU_MNG_BUILD_SHARED=OFF", *linker],
                       cwd=self.tree, check=True, stdout=subprocess.DEVNULL)
        if not self.make():
            sys.exit("the sources do not compile")
        found = self.finder("", "")
        if found:
            sys.exit(f"without any fault, {found} fails")

    def make(self, *targets):
        return run(["ninja", "-C", self.build, *targets], 600, self.tree)[0] == 0

    def failing(self, *choice):
        """The first test of the choice that fails, or an empty text."""
        code, output = run(["ctest", "--stop-on-failure", "--timeout", "60", *choice], 900, self.build)
        names = re.findall(r"^\s*\d+ - (\S+) \(", output, re.MULTILINE)
        return names[0] if names else "" if code == 0 else "time-out"

    def finder(self, room, last):
        """The test that finds the planted fault, an empty text if none does, or None if it does not compile."""
        for tests in filter(None, ([last] if last else [], FIRST.get(room, []))):
            if self.make(*tests):
                found = self.failing("-R", f"^({'|'.join(tests)})$")
                if found:
                    return found
        if not self.make():
            return None
        for choice in ("-E", f"{NOT_RUN}|{LONG}"), ("-R", LONG, "-E", NOT_RUN):
            found = self.failing("-j4", *choice)
            if found and self.failing("-R", f"^{found}$"):  # again, alone: a test may fail because of the load
                return found
        return ""


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("rooms", nargs="+", help="directories to plant faults in")
    parser.add_argument("--number", type=int, default=200)
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 16))
    parser.add_argument("--results", type=pathlib.Path, help="where to read and to write which test found which fault")
    parser.add_argument("--found-by", metavar="TEST", help="plant only the faults that this test found last time")
    parser.add_argument("--scratch", type=pathlib.Path, default=pathlib.Path("build/faults"))
    wanted = parser.parse_args()

    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    os.environ.setdefault("ONU_MNG_SEEDS", "100")
    os.environ.setdefault("ONU_MNG_PREEMPTIONS", "1")
    known = json.loads(wanted.results.read_text()) if wanted.results and wanted.results.exists() else {}
    copy = Copy(pathlib.Path.cwd(), wanted.scratch.resolve())
    places = list(sites(copy.tree, wanted.rooms))
    random.Random(wanted.seed).shuffle(places)
    found, survived, uncompiled = 0, 0, 0
    for room, path, number, position in places:
        if found + survived == wanted.number:
            break
        text = path.read_text()
        fault = planted(text, number, position)
        name = path.relative_to(copy.tree)
        line = text.count("\n", 0, position + 1)
        changed = [pair for pair in zip(text.split("\n"), fault.split("\n")) if pair[0] != pair[1]][:1]
        before, after = (side.strip() for side in changed[0])
        key = f"{name}:{line + 1} [{before}] -> [{after}]"
        if wanted.found_by and known.get(key) != wanted.found_by:
            continue
        path.write_text(fault)
        try:
            finder = copy.finder(room, known.get(key, ""))
        finally:
            path.write_text(text)
        if finder is None:
            uncompiled += 1
            continue
        found += bool(finder)
        survived += not finder
        known[key] = finder
        print(f"{'found' if finder else 'SURVIVED'} {key} {finder}", flush=True)
        if wanted.results:
            wanted.results.write_text(json.dumps(known, indent=1))
    print(f"{found} of {found + survived} found, {uncompiled} did not compile, {len(places)} places, seed {wanted.seed}")


if __name__ == "__main__":
    main()
