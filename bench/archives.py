"""Measures what can be done for a faster update without the updater: by the archive, and on the instrument.

A shell script runs the updater's command lines in the simulated instrument, in turns with other archives, other
programs in the place of gzip, and other file systems. Needs root, loop devices, pigz, igzip and a build.
"""

import contextlib
import functools
import gzip
import shutil
import subprocess
import sys
import tarfile
import tempfile
import time
from dataclasses import dataclass
from itertools import pairwise
from pathlib import Path

from bench.course import Courses, partition_bytes_for
from bench.measuring import in_turns, median_of, megabytes, peak_mib, run_tables, table, table_parser
from simulator import archive
from simulator.build import require_devices, require_root_and
from simulator.card import MIB, other_partition
from simulator.run import ARCHIVE

SHOWN = ("gzip -t", "tar -xf", "rm -rf", "tar xvzf", "sync")
LEVELS = (1, 6, 9)
PROGRAMS = ("gzip", "pigz", "igzip")
FILE_COUNTS = (16, 1000, 10_000)
PREPARE_SCRIPT = "usr/local/bin/zepra-prepare-update.sh"
FILE_SYSTEMS = {
    "as it is made": (),
    "`journal_data_writeback`": ("-o", "journal_data_writeback"),
    "without a journal": ("-O", "^has_journal"),
}


@dataclass(frozen=True)
class Variant:
    """An archive, what is done to the instrument before each update with it, and the instrument."""

    name: str
    archive: Path
    courses: Courses
    prepare: object = lambda instrument: None


def timed(variants, runs):
    """The lines of a table with the seconds of each variant's commands."""
    found = {variant: [] for variant in variants}
    for variant in variants:
        for _ in range(2):  # so that there is as much to be cleared each time
            variant.courses.by_script(variant.archive, variant.prepare)
    for variant in in_turns(variants, runs):
        found[variant].append(variant.courses.by_script(variant.archive, variant.prepare))
    return [[variant.name, f"{megabytes(variant.archive):.1f}", *seconds_of(variant.courses.lines, courses),
             median_of(course.seconds for course in courses)] for variant, courses in found.items()]


def seconds_of(lines, courses):
    """The median seconds of the commands that are shown; of alike ones the first counts."""
    shown = [next(at for at, line in enumerate(lines) if line.startswith(beginning)) for beginning in SHOWN]
    return [median_of(course.commands[at] for course in courses) for at in shown]


def timed_table(what, variants, runs):
    return table([what, "Archive, MB", *(f"`{command}`, s" for command in SHOWN), "All, s"], timed(variants, runs))


def packed(source, level, folder):
    """The archive once more, packed at another level of gzip."""
    target = folder / f"level{level}.tar.gz"
    with gzip.open(source) as old, gzip.open(target, "wb", compresslevel=level) as new:
        shutil.copyfileobj(old, new, MIB)
    return target


def with_prepare_script(source, first, folder):
    """The archive once more, with the prepare script as its first or as its last member."""
    target = folder / f"first{first}.tar.gz"
    with tarfile.open(source) as old, tarfile.open(target, "w:gz", compresslevel=6) as new:
        for member in sorted(old.getmembers(), key=lambda member: (member.name == PREPARE_SCRIPT) != first):
            new.addfile(member, old.extractfile(member) if member.isfile() else None)
    return target


def with_bulk(bulk, name, folder):
    """An archive with a small system and with more files, which are pairs of name and content."""
    with tempfile.TemporaryDirectory(dir=folder) as made:
        archive.write_update(Path(made), archive.OFFERED_VERSION, archive.OFFERED_FIRMWARE, ballast_files=0)
        for path, content in bulk:
            place = Path(made, "usr/local/lib", path)
            place.parent.mkdir(exist_ok=True)
            place.write_bytes(content)
        output = folder / name
        output.mkdir()
        return archive.pack(made, archive.OFFERED_VERSION, output)


def pieces(count, size):
    """So many bytes as so many files."""
    bulk = archive.semi_compressible("files", size)
    ends = [number * size // count for number in range(count + 1)]
    return ((f"{number % 100}/{number}.so", bulk[begin:end]) for number, (begin, end) in enumerate(pairwise(ends)))


def libraries(size):
    """About so many bytes of this machine's libraries, which gzip packs as it does those of an instrument."""
    for path in sorted(Path("/usr/lib").glob("*/lib*.so.*")):
        if path.is_file() and not path.is_symlink() and path.stat().st_size <= size:
            size -= path.stat().st_size
            yield path.name, path.read_bytes()


def replace_gzip(program, instrument):
    """Puts another program in the place of the instrument's gzip."""
    if program != "gzip":
        instrument.root.bind(Path(shutil.which(program)), "/usr/bin/gzip", "ro")


def tune(options, instrument):
    """Changes the file system that is not in use, which the next update fills."""
    if options:
        device = f"/dev/{other_partition(instrument.mounted_partition())}"
        subprocess.run(instrument.root.command("tune2fs", *options, device), check=True, stdout=subprocess.DEVNULL)


def programs_table(courses, file, folder):
    """What programs in the place of gzip need, and what they say to broken archives."""
    content = file.read_bytes()
    broken = {"junk.tar.gz": content + b"junk", "cut.tar.gz": content[:len(content) // 2]}
    for name, text in broken.items():
        (folder / name).write_bytes(text)
    rows = []
    for program in PROGRAMS:
        with courses.instrument(file) as instrument:
            replace_gzip(program, instrument)
            paths = [instrument.plug_in(folder / name) for name in broken]
            rows.append([f"`{program}`", f"{memory_of(instrument, 'gzip', '-t', ARCHIVE):.1f}",
                         *(answer(instrument, *command, path) for path in paths
                           for command in (("gzip", "-t"), ("tar", "-C", "/tmp", "-xzf")))])
    return table(["Program", "Memory, MiB", "`gzip -t`, junk behind", "`tar`, junk behind", "`gzip -t`, cut off",
                  "`tar`, cut off"], rows)


def memory_of(instrument, *command):
    """The most memory that a command has had, in MiB."""
    peak = 0
    process = instrument.start(command, {}, subprocess.DEVNULL)
    while process.poll() is None:
        with contextlib.suppress(OSError, TypeError):  # it has just ended
            peak = peak_mib(process)
        time.sleep(0.002)
    return peak


def answer(instrument, *command):
    """The exit status of a command and the first line that it writes."""
    done = subprocess.run(instrument.root.command("env", "LANG=C", *command), check=False, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    words = [line for line in done.stdout.splitlines() if line]
    return f"{done.returncode}" + (f": {words[0].replace(command[-1], 'FILE')}" if words else "")


def measure(build, options):
    runs, size = options.runs, options.ballast
    sample = archive.sample(build, size)
    with contextlib.ExitStack() as stack:
        folder = Path(stack.enter_context(tempfile.TemporaryDirectory()))
        # Where what is cleared differs, each variant has an instrument of its own.
        instruments = [stack.enter_context(Courses(build, folder / str(number), partition_bytes_for(size)))
                       for number in range(max(len(FILE_COUNTS), len(FILE_SYSTEMS)))]
        courses = instruments[0]
        bulk = size * archive.BALLAST_BYTES
        real = with_bulk(libraries(bulk), "libraries", folder)
        levels = [Variant(f"`gzip -{level}`", packed(real, level, folder), courses) for level in LEVELS]
        programs = [Variant(f"`{program}`", sample, courses, functools.partial(replace_gzip, program))
                    for program in PROGRAMS]
        orders = [Variant(name, with_prepare_script(sample, first, folder), courses)
                  for name, first in (("first", True), ("last", False))]
        counts = [Variant(f"{count}", with_bulk(pieces(count, bulk), f"files{count}", folder), own)
                  for own, count in zip(instruments, FILE_COUNTS)]
        systems = [Variant(name, sample, own, functools.partial(tune, changes))
                   for own, (name, changes) in zip(instruments, FILE_SYSTEMS.items())]
        return "\n\n".join([
            timed_table("Packed with", levels, runs),
            timed_table("In the place of `gzip`", programs, runs), programs_table(courses, sample, folder),
            timed_table("The prepare script is the archive's", orders, runs),
            timed_table("Files in the archive", counts, runs),
            timed_table("The partitions' file system", systems, runs)])


def main():
    arguments = table_parser("bench/archives", __doc__, runs=3)
    arguments.add_argument("--ballast", type=int, default=16, metavar="FILES",
                           help="the archives' size in files of 8 MiB, about 4.2 MB packed (16)")
    return run_tables(arguments.parse_args(), "bench/archives", measure, require_devices,
                      lambda: require_root_and("pigz", "igzip", "tune2fs"))


if __name__ == "__main__":
    sys.exit(main())
