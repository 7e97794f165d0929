"""Complaints of the QML engine are noticed, whichever test runs the program."""

import unittest

import stage
from stage import qml_faults
from viewer import DOCUMENTS, Viewer


class FaultsTest(unittest.TestCase):

    def test_complaints_of_the_engine(self):
        with Viewer(DOCUMENTS / "faulty.qml") as viewer:
            viewer.show(message=["text"])
        faults = "\n".join(viewer.faults)
        for kind in ("Unable to assign [undefined]", "TypeError: Cannot read property", "Binding loop"):
            self.assertIn(kind, faults)

    def test_the_screen_gives_no_cause(self):
        with Viewer() as viewer:
            for flag in ("isConfirmationVisible", "isButtonVisible", "isProgressBarVisible"):
                viewer.show(**{flag: True})
        self.assertEqual(viewer.faults, [])

    def test_what_else_is_written_is_no_complaint(self):
        self.assertEqual(qml_faults("Progress update: 0.1\n\"tar xvzf a.tar.gz -C /\"\nusr/local/qml/a"), [])
        self.assertEqual(len(qml_faults("qrc:/main.qml:31: TypeError: Cannot read property\n")), 1)


if __name__ == "__main__":
    stage.main()
