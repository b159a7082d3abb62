import Kelvo.Toolkit

ContentUnavailableView {
    label: qsTr("Downloads")
    symbol: "arrow.down.circle"
    description: qsTr("Kelvo does not download copyrighted installation images. Select your own legitimate Windows ARM64 ISO when creating a virtual machine.")
}
