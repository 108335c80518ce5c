import QtQuick

Image {
    width: 24
    height: 24
    sourceSize: Qt.size(24 * Screen.devicePixelRatio, 24 * Screen.devicePixelRatio)
    source: "qrc:/driftwell/icons/Logo.svg"
    Accessible.ignored: true
}
