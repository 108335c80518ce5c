import QtQuick

Image {
    width: 24
    height: 24
    sourceSize.width: 24 * Screen.devicePixelRatio
    sourceSize.height: 24 * Screen.devicePixelRatio
    source: "qrc:/driftwell/icons/Logo.svg"
    Accessible.ignored: true
}
