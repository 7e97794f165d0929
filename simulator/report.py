"""What became of the instrument, for people and (report.json) for programs."""

import dataclasses
import json


def state(instrument):
    """The lasting state of an instrument that is switched off."""
    partition = instrument.configured_partition()
    versions = instrument.system_versions()
    return {"partition": partition, "version": versions.get(partition), "versions": versions,
            "board": instrument.board_version()}


def write(findings, folder):
    """Keeps the record of a run as report.json in the run's folder and prints it."""
    update = findings["update"]
    (folder / "report.json").write_text(json.dumps(findings, indent=2, default=dataclasses.asdict) + "\n")
    before, after = findings["before"], findings["after"]

    def change(what):
        return " -> ".join(found[what] or "unknown" for found in (before, after))

    lines = [("update", update)] + [("reason", update.reason)] * bool(update.reason) + [
        ("exit status of the updater", f"{findings['exit_status']} after {findings['seconds']} s"),
        ("partition in /etc/fstab", change("partition")),
        ("mounted on /usr/local", f"{before['partition'] or 'unknown'} -> {findings['mounted'] or 'nothing'}"),
        ("system at the next start", change("version")),
        ("board's firmware", change("board")),
    ]
    if findings["screens"]:
        passed = ", ".join(f"{screen['name']} {screen['seconds']:.1f} s" for screen in findings["screens"])
        lines += [("screens passed", passed), ("pictures of them", f"{folder}/pictures")]
    lines += [("remark", remark) for remark in findings["remarks"]]
    for name, value in [*lines, ("logs and report.json", folder)]:
        print(f"{name:28} {value}")
