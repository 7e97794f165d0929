import QtQuick 2.9
import QtTest 1.1
import TestSupport 1.0

/* The harness itself: a faulty document must not go unnoticed. */
Item {
    Component {
        id: typeError

        Item {
            width: nobody.width
        }
    }

    Component {
        id: bindingLoop

        Item {
            width: height + 1
            height: width + 1
        }
    }

    ComponentTest {
        name: "Warnings"

        function test_areNoticed_data() {
            return [
                { tag: "type error", component: typeError, text: /nobody is not defined/ },
                { tag: "binding loop", component: bindingLoop, text: /Binding loop detected/ }
            ]
        }

        function test_areNoticed(data) {
            data.component.createObject(null).destroy()
            verify(data.text.test(Warnings.take()))
            compare(Warnings.take(), "")
        }
    }
}
