"""What became of the instrument, for people and (report.json) for programs."""

import json


def take(instrument):
    """The lasting state of an instrument that is switched off."""
    partition = instrument.configured_partition()
    versions = instrument.system_versions()
    return {"partition": partition, "version": versions.get(partition), "versions": versions,
            "board": instrument.board_version()}


def compile(before, after, mounted, outcome):
    """One record of a run: the states around it, and what was seen in between."""
    return {"exit_status": outcome.status, "seconds": round(outcome.seconds, 1), "mounted": mounted,
            "before": before, "after": after, "screens": outcome.screens, "remarks": outcome.remarks}


def write(findings, folder):
    """Keeps the record as report.json in the folder and prints it."""
    (folder / "report.json").write_text(json.dumps(findings, indent=2) + "\n")
    before, after = findings["before"], findings["after"]
    mounted = findings["mounted"]
    print(f"exit status of the updater   {findings['exit_status']} after {findings['seconds']} s")
    print(f"partition in /etc/fstab      {before['partition']} -> {after['partition']}")
    print(f"mounted on /usr/local        {before['partition']} -> {mounted or 'nothing'}")
    print(f"system at the next start     {before['version']} -> {after['version']}")
    print(f"board's firmware             {before['board']} -> {after['board']}")
    if findings["screens"]:
        passed = ", ".join(f"{screen['name']} {screen['seconds']:.1f} s" for screen in findings["screens"])
        print(f"screens passed               {passed}")
        print(f"pictures of them             {folder}/pictures")
    for remark in findings["remarks"]:
        print(f"remark                       {remark}")
    print(f"logs                         {folder}/log")
