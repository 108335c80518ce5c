import QtQuick
import Driftwell

AppText {
    font.weight: Font.DemiBold
    Accessible.role: Accessible.Heading
}
