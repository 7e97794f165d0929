"""What the measuring commands share: options, turns, figures, and their tables in docs/performance.md."""

import datetime
import os
import re
import statistics
import time
from pathlib import Path

from simulator import SOURCES
from simulator.build import Build, require_screen
from simulator.commandline import status_of, tool_parser
from simulator.namespaces import run_isolated

DOCUMENT = SOURCES / "docs" / "performance.md"


def table_parser(name, description, runs=5, preset="dev"):
    """The parser of a command that makes tables, such as "bench/update"."""
    made = tool_parser(name, description, preset)
    made.add_argument("--runs", type=int, default=runs, help=f"how many runs each figure is the median of ({runs})")
    made.add_argument("--write", action="store_true", help="write the tables into docs/performance.md")
    return made


def simulated(options):
    """The build to measure in the simulated instrument."""
    require_screen()
    return Build(options.build.absolute())


def run(options, name, measure, *requirements, build_of=simulated):
    """Runs measure(build, options) in private namespaces, with the build of the options; returns the exit status."""
    def job():
        for require in requirements:
            require()
        build = build_of(options)
        build.check()
        return run_isolated(lambda: measure(build, options) or 0, name)

    return status_of(job, name)


def run_tables(options, name, tables_of, *requirements, build_of=simulated):
    """The same for tables_of(build, options), which returns Markdown that is shown, and written if asked for."""
    def measure(build, _):
        text = tables_of(build, options)
        print(text)
        if options.write:
            write(name, f"{text}\n\n{measured_with(name, options)}")

    return run(options, name, measure, *requirements, build_of=build_of)


def write(name, text):
    """Puts a text between the marks of a command in the document."""
    begin, end = f"<!-- {name} -->", f"<!-- end of {name} -->"
    content = DOCUMENT.read_text()
    if content.count(begin) != 1 or content.count(end) != 1:
        raise OSError(f"{DOCUMENT} has no place for {name}")
    head, _, tail = content.partition(begin)
    DOCUMENT.write_text(f"{head}{begin}\n{text}\n{end}{tail.partition(end)[2]}")


def measured_with(name, options):
    """The line that says what was measured when and where."""
    before = " --before BUILD" if getattr(options, "before", None) else ""
    return (f"*`{name} --runs {options.runs}{before}` on {datetime.date.today()}, {os.cpu_count()} cores"
            f" ({processor_name()}), load {os.getloadavg()[1]:.1f}.*")


def processor_name():
    """What the kernel calls the processor."""
    match = re.search(r"model name\s*: (.+)", Path("/proc/cpuinfo").read_text())
    return match[1] if match else os.uname().machine


def table(head, rows):
    """A Markdown table; numbers are aligned to the right."""
    numeric = [all(re.match(r"[\d.–-]", str(row[at])) for row in rows) for at in range(len(head))]
    ruler = ["---:" if right else "---" for right in numeric]
    return "\n".join("| " + " | ".join(map(str, line)) + " |" for line in (head, ruler, *rows))


def in_turns(variants, runs):
    """Yields the variants so that each comes `runs` times, and what slows the machine down meets all alike.

    Every other turn goes backwards.
    """
    for turn in range(runs):
        yield from variants if turn % 2 == 0 else reversed(variants)


def megabytes(path):
    """The size of a file in millions of bytes."""
    return path.stat().st_size / 1e6


def median_of(values, digits=2):
    """The median as text."""
    return f"{statistics.median(values):.{digits}f}"


def median_ratio(values, others):
    """The median of the ratios of what was measured in the same turn, as text."""
    return median_of([value / other for value, other in zip(values, others, strict=True)])


def moments_of(log):
    """The moments of the pictures in a log of them, in seconds of the monotonic clock."""
    return [int(line) / 1e9 for line in log.read_text().split()] if log.exists() else []


def processor_clock(process):
    """The processor seconds of a process so far, without its children but with threads that have ended."""
    return time.clock_gettime(~process.pid << 3 | 2)  # as clock_getcpuclockid() makes it


def peak_mib(process):
    """The most memory that a process has had so far, in MiB."""
    status = Path(f"/proc/{process.pid}/status").read_text()
    return int(re.search(r"VmHWM:\s*(\d+) kB", status)[1]) / 1024
