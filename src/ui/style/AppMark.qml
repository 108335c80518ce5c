import QtQuick

// The application's mark, sharp at every scale.
Item {
    implicitWidth: 24
    implicitHeight: 24

    Image {
        anchors.fill: parent
        sourceSize.width: width * Screen.devicePixelRatio
        sourceSize.height: height * Screen.devicePixelRatio
        source: "qrc:/driftwell/icons/Logo.svg"
        // It goes with the window.
        cache: false
        Accessible.ignored: true
    }
}
