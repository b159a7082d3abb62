import QtQuick

/// A whole number that is typed, or moved one step down or up, within a range. It does not hold the number.
Row {
    id: root

    required property string label
    required property int value
    required property int minimum
    required property int maximum

    signal edited(value: int)

    spacing: Theme.smallSpacing

    TextField {
        id: field

        width: Math.round(Theme.body * 5)
        height: Theme.smallControlHeight
        horizontalAlignment: TextInput.AlignRight
        inputMethodHints: Qt.ImhDigitsOnly
        validator: IntValidator {
            bottom: root.minimum
            top: root.maximum
        }
        text: root.value
        Accessible.name: root.label
        onTextEdited: if (acceptableInput) root.edited(Number.parseInt(text))
        // An unfinished number is none.
        onActiveFocusChanged: if (!activeFocus) text = Qt.binding(() => root.value)
    }

    Stepper {
        label: root.label
        value: root.value
        minimumValue: root.minimum
        maximumValue: root.maximum
        onEdited: value => root.edited(value)
    }
}
