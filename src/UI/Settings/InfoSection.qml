pragma ComponentBehavior: Bound

import QtQuick
import Kelvo.Toolkit
import Kelvo.UI

/// A group of rows that are only read.
FormSection {
    id: root

    required property list<labeledValue> values

    Repeater {
        model: root.values

        FormRow {
            required property labeledValue modelData

            label: modelData.label
            value: modelData.value
            elidesInMiddle: true
        }
    }
}
