"""What ./simulate refuses before it does anything."""

import shlex

import pytest
from simulator import commandline


@pytest.mark.parametrize("options, says", [
    ("--sil", "unrecognized arguments: --sil"),
    ("update.tar.gz", "unrecognized arguments: update.tar.gz"),
    ("--archive /nowhere/a.tar.gz", "no archive /nowhere/a.tar.gz"),
    ("--language 99", "choose from 1, 2"),
    ("--silent --answer no", "--answer no does not go with --silent"),
    ("--effects", "--effects goes with --arm only"),
    ("--partition-size 15", "'15' is no number of MiB from 16 on"),
    ("--size 1280", "'1280' is not WIDTHxHEIGHT"),
    ("--size 800x479", "'800x479' is not WIDTHxHEIGHT, from 800x480 on"),
    ("--fail '#2'", "'#2' is not how a command begins"),
    ("--fault fire@tar", "'fire@tar' is not one of exit, signal,"),
    ("--power-cuts --fault io@sed", "io@... does not go with --power-cuts"),
    ("--delay tar:1", "'tar:1' is not seconds, @, and how a command begins"),
    ("--delay tar@3", "'tar@3' is not seconds, @,"),
    ("--signal HUP@confirm", "'HUP@confirm' is not one of TERM, INT, KILL"),
    ("--signal TERM", "'TERM' is not one of TERM, INT, KILL, @, and a screen or"),
])
def test_refused(capsys, options, says):
    with pytest.raises(SystemExit) as ending:
        commandline.parse(shlex.split(options))
    assert (ending.value.code, says in capsys.readouterr().err) == (commandline.OWN_FAILURE, True)
