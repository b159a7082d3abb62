import QtQuick
import QtQuick.Templates as T

T.MenuSeparator {
    width: ListView.view ? ListView.view.width : implicitWidth
    implicitHeight: 9
    horizontalPadding: Theme.mediumSpacing

    contentItem: Item {
        Divider {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width
        }
    }
}
