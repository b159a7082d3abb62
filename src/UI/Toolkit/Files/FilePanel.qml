pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Qt.labs.folderlistmodel
import Kelvo.Toolkit

/// Our own panel for one file or folder: a path to type into, and a list to look through.
Sheet {
    id: root

    property bool picksFolder: false
    property url startFolder
    property list<string> patterns: []

    signal picked(file: url)

    preferredWidth: Theme.scaled(580)
    preferredHeight: Theme.scaled(450)
    visible: true

    FileBrowser {
        id: browser

        picksFolder: root.picksFolder
        onPicked: url => {
            root.close();
            root.picked(url);
        }
        onFolderChanged: {
            pathField.text = browser.path;
            list.currentIndex = -1;
        }
    }

    FolderListModel {
        id: files

        folder: browser.folder
        showFiles: !root.picksFolder
        showDirsFirst: true
        caseSensitive: false
        sortCaseSensitive: false
        nameFilters: allFiles.checked ? [] : root.patterns
    }

    FocusScope {
        anchors.fill: parent
        focus: true

        Label {
            id: heading

            anchors.left: parent.left
            anchors.leftMargin: Theme.spacing
            y: Theme.spacing
            width: parent.width - 2 * Theme.spacing
            text: root.title
            font.pixelSize: Theme.title3
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }

        PushButton {
            id: upButton

            anchors.left: parent.left
            anchors.leftMargin: Theme.spacing
            anchors.verticalCenter: pathField.verticalCenter
            enabled: browser.canGoUp
            symbol: "arrow.up"
            Accessible.name: qsTr("Enclosing Folder")
            onClicked: browser.goUp()
        }
        TextField {
            id: pathField

            anchors.top: heading.bottom
            anchors.topMargin: Theme.mediumSpacing
            anchors.left: upButton.right
            anchors.leftMargin: Theme.smallSpacing
            anchors.right: parent.right
            anchors.rightMargin: Theme.spacing
            focus: true
            text: browser.path
            Accessible.name: qsTr("Path")
            Accessible.description: browser.problem
            onAccepted: browser.submit(text)
            Keys.onReturnPressed: event => {
                browser.submit(pathField.text);
                event.accepted = true;
            }
            Keys.onEnterPressed: event => {
                browser.submit(pathField.text);
                event.accepted = true;
            }
            Keys.onDownPressed: list.enter()
        }

        Label {
            id: problem

            anchors.top: pathField.bottom
            anchors.topMargin: Theme.tightSpacing
            anchors.left: pathField.left
            anchors.right: pathField.right
            visible: text !== ""
            text: browser.problem
            font.pixelSize: Theme.caption
            color: Theme.redTone
        }

        Rectangle {
            anchors.fill: list
            anchors.margins: -1
            radius: Theme.rowRadius
            color: Theme.groupBackground
            border.width: 1
            border.color: Theme.cardBorder
        }

        ListView {
            id: list

            anchors.top: problem.visible ? problem.bottom : pathField.bottom
            anchors.topMargin: Theme.mediumSpacing
            anchors.bottom: buttons.top
            anchors.left: parent.left
            anchors.leftMargin: Theme.spacing
            width: parent.width - 2 * Theme.spacing
            topMargin: Theme.tightSpacing
            bottomMargin: Theme.tightSpacing
            clip: true
            model: files
            currentIndex: -1
            keyNavigationEnabled: true
            highlightMoveDuration: 0
            boundsBehavior: Flickable.StopAtBounds
            activeFocusOnTab: true
            T.ScrollBar.vertical: ScrollBar {}
            Accessible.role: Accessible.List
            Accessible.name: qsTr("Files")
            Keys.onReturnPressed: root.openCurrent()
            Keys.onEnterPressed: root.openCurrent()
            Keys.onPressed: event => {
                if (event.key === Qt.Key_Backspace) {
                    browser.goUp();
                    event.accepted = true;
                }
            }

            delegate: T.ItemDelegate {
                id: row

                required property string fileName
                required property url fileUrl
                required property bool fileIsDir
                required property int index

                x: Theme.tightSpacing
                width: list.width - 2 * x
                height: Theme.controlHeight
                text: fileName
                highlighted: ListView.isCurrentItem
                focusPolicy: Qt.NoFocus
                Accessible.onPressAction: browser.open(row.fileUrl, row.fileIsDir)
                onClicked: list.currentIndex = row.index
                onDoubleClicked: browser.open(row.fileUrl, row.fileIsDir)

                contentItem: Item {
                    Symbol {
                        anchors.left: parent.left
                        anchors.leftMargin: Theme.smallSpacing
                        anchors.verticalCenter: parent.verticalCenter
                        name: row.fileIsDir ? "folder" : "opticaldisc"
                        color: row.fileIsDir ? Theme.linkText : Theme.secondaryText
                    }
                    Text {
                        anchors.left: parent.left
                        anchors.leftMargin: Theme.smallSymbol + 18
                        anchors.right: parent.right
                        anchors.rightMargin: 8
                        anchors.verticalCenter: parent.verticalCenter
                        text: row.fileName
                        horizontalAlignment: Text.AlignLeft
                        textFormat: Text.PlainText
                        font.pixelSize: Theme.body
                        color: Theme.text
                        elide: Text.ElideMiddle
                        Accessible.ignored: true
                    }
                }

                background: Rectangle {
                    radius: Theme.controlRadius - 2
                    color: row.highlighted ? (list.activeFocus ? Theme.accentWash : Theme.selectionWash)
                                           : row.hovered ? Theme.hoverWash : "transparent"
                }
            }

            function enter(): void {
                if (list.currentIndex < 0)
                    list.currentIndex = 0;
                list.forceActiveFocus(Qt.TabFocusReason);
            }
        }

        Label {
            anchors.centerIn: list
            visible: list.count === 0 && files.status === FolderListModel.Ready
            text: root.picksFolder ? qsTr("No folders here") : qsTr("No disk images here")
            color: Theme.secondaryText
        }

        Item {
            id: buttons

            anchors.bottom: parent.bottom
            width: parent.width
            height: Theme.controlHeight + 2 * Theme.spacing

            Toggle {
                id: allFiles

                anchors.left: parent.left
                anchors.leftMargin: Theme.spacing
                anchors.verticalCenter: parent.verticalCenter
                visible: root.patterns.length > 0
                text: qsTr("All files")
            }
            PushButton {
                anchors.right: openButton.left
                anchors.rightMargin: Theme.smallSpacing
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("Cancel")
                onClicked: root.close()
            }
            PushButton {
                id: openButton

                anchors.right: parent.right
                anchors.rightMargin: Theme.spacing
                anchors.verticalCenter: parent.verticalCenter
                prominent: true
                enabled: root.picksFolder || list.currentIndex >= 0
                disabledReason: qsTr("Select a file first.")
                text: root.picksFolder ? qsTr("Choose") : qsTr("Open")
                onClicked: root.choose()
            }
        }
    }

    Component.onCompleted: {
        browser.folder = root.startFolder;
        pathField.selectAll();
    }

    function openCurrent(): void {
        const row = list.currentIndex;
        if (row >= 0)
            browser.open(files.get(row, "fileUrl"), files.get(row, "fileIsDir"));
    }

    function choose(): void {
        if (!root.picksFolder)
            root.openCurrent();
        else if (list.currentIndex >= 0)
            root.openCurrentThenPick();
        else
            browser.pickFolder();
    }

    function openCurrentThenPick(): void {
        root.openCurrent();
        browser.pickFolder();
    }
}
