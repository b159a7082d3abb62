import QtQuick
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

/// The sheet that describes and creates a new machine.
Sheet {
    id: root

    title: qsTr("New Virtual Machine")
    visible: AppState.showingCreateVM
    dismissible: !model.isCreating

    CreateVMModel {
        id: model

        appState: AppState
    }

    FocusScope {
        anchors.fill: parent
        focus: true
        Keys.onReturnPressed: root.goOn()
        Keys.onEnterPressed: root.goOn()

        Label {
            id: heading

            anchors.horizontalCenter: parent.horizontalCenter
            y: Theme.mediumSpacing
            text: root.title
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }

        ProgressBar {
            id: progress

            anchors.top: heading.bottom
            anchors.topMargin: Theme.mediumSpacing
            width: parent.width
            implicitHeight: 3
            from: 0
            to: model.stepCount
            value: model.step + 1
            Accessible.name: qsTr("Step %1 of %2").arg(model.step + 1).arg(model.stepCount)
        }

        ScrollPage {
            id: page

            anchors.top: progress.bottom
            anchors.bottom: divider.top
            width: parent.width
            contentHeight: stepLoader.height + 2 * Theme.largeSpacing

            Loader {
                id: stepLoader

                anchors.left: parent.left
                anchors.leftMargin: Theme.largeSpacing
                y: Theme.largeSpacing
                width: page.width - 2 * Theme.largeSpacing
                focus: true
                onLoaded: {
                    page.contentY = 0;
                    (item as FocusScope).forceActiveFocus(Qt.OtherFocusReason);
                }
            }
        }

        Divider {
            id: divider

            anchors.bottom: buttons.top
            width: parent.width
        }

        Item {
            id: buttons

            anchors.bottom: parent.bottom
            width: parent.width
            height: Theme.controlHeight + 2 * Theme.mediumSpacing

            PushButton {
                anchors.left: parent.left
                anchors.leftMargin: Theme.spacing
                anchors.verticalCenter: parent.verticalCenter
                visible: model.step >= 1
                text: qsTr("Back")
                onClicked: model.goBack()
            }
            PushButton {
                anchors.right: parent.right
                anchors.rightMargin: Theme.spacing
                anchors.verticalCenter: parent.verticalCenter
                visible: !model.isLastStep
                enabled: model.canContinue
                disabledReason: model.missing
                prominent: true
                text: qsTr("Continue")
                onClicked: model.goForward()
            }
            Spinner {
                anchors.right: createButton.left
                anchors.rightMargin: Theme.mediumSpacing
                anchors.verticalCenter: parent.verticalCenter
                visible: model.isCreating
                size: Theme.scaled(20)
                color: Theme.secondaryText
            }
            PushButton {
                id: createButton

                anchors.right: parent.right
                anchors.rightMargin: Theme.spacing
                anchors.verticalCenter: parent.verticalCenter
                visible: model.isLastStep
                enabled: !model.isCreating
                disabledReason: qsTr("The virtual machine is being created.")
                prominent: true
                text: qsTr("Create Virtual Machine")
                onClicked: model.create()
            }
        }
    }

    Alert {
        id: alert

        title: qsTr("Could Not Create VM")
        message: model.errorMessage
        visible: model.errorMessage !== ""
        onClosed: model.errorMessage = ""
    }

    Connections {
        target: stepLoader.item
        ignoreUnknownSignals: true

        function onSubmitted(): void {
            root.goOn();
        }
    }

    Connections {
        target: model

        function onStepChanged(): void {
            root.showStep();
        }
    }

    Component.onCompleted: root.showStep()

    function showStep(): void {
        const pages = ["OS", "Media", "Hardware", "Name", "Summary"];
        stepLoader.setSource("CreateVM" + pages[model.step] + "Step.qml", {wizard: model});
    }

    function goOn(): void {
        if (model.isLastStep)
            model.create();
        else
            model.goForward();
    }
}
