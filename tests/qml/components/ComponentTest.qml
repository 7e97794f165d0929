import QtQuick 2.9
import QtTest 1.1
import TestSupport 1.0

/* A test case that fails on any warning, the ones of loading its document included. */
TestCase {
    when: windowShown

    function initTestCase() {
        compare(Warnings.take(), "")
    }

    function cleanup() {
        compare(Warnings.take(), "")
    }
}
