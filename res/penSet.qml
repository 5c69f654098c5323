import QtQuick 2.15
import QtQuick.Layouts 1.15
import QtQuick.Window 2.15

// The pen settings card: eight ink colours and four line widths. A choice is
// sent to the toolbar at once; the card stays open.
Item {
    id: root

    property int curColorIndex: 2
    property int curPenSize: 1
    property var corlors: ["#FFFFFF", "#000000", "#F73859", "#FFA800",
                           "#00B8A9", "#AC73FF", "#64B5F6", "#44D55C"]
    property var radiusSize: [24, 32, 40, 48]
    property var penSize: [3, 6, 8, 12]
    property real ratio: Screen.width / 1920

    signal signalPenColor(var color)
    signal signalPenSize(var size)

    // Design pixels (for a 1920-wide screen) to screen pixels, never below 1.
    function vw(px) {
        return Math.max(px * ratio, 1)
    }

    width: vw(230)
    height: vw(203)

    Rectangle {
        id: card
        objectName: "card"
        width: vw(230)
        height: vw(203)
        anchors.centerIn: parent
        color: "#FFFFFF"
        radius: vw(8)
        border.color: "#EEEEEE"
        border.width: vw(1)

        ColumnLayout {
            anchors.fill: parent
            spacing: 0

            Grid {
                objectName: "colorGrid"
                columns: 4
                spacing: vw(2)
                Layout.leftMargin: vw(16)
                Layout.topMargin: vw(14)
                Layout.preferredWidth: vw(198)
                Layout.preferredHeight: vw(98)

                Repeater {
                    model: 8

                    Rectangle {
                        id: cell
                        objectName: "colorCell" + index
                        width: vw(48)
                        height: vw(48)
                        color: "#FFFFFFFF"
                        radius: vw(6)
                        border.width: vw(2)
                        border.color: index === root.curColorIndex ? "#1486FA" : "#00000000"

                        Rectangle {
                            objectName: "swatch" + index
                            anchors.centerIn: parent
                            width: vw(36)
                            height: vw(36)
                            color: root.corlors[index]
                            border.width: vw(1)
                            border.color: root.corlors[index] === "#FFFFFF" ? "#EEEEEE" : "#00000000"
                        }

                        MouseArea {
                            anchors.fill: parent
                            hoverEnabled: true
                            onEntered: cell.color = "#E3E4E5"
                            onExited: cell.color = "#FFFFFFFF"
                            onClicked: {
                                root.curColorIndex = index
                                console.log("边框样式：", index)
                                root.signalPenColor(root.corlors[index])
                            }
                        }
                    }
                }
            }

            Rectangle {
                objectName: "divider"
                Layout.preferredWidth: vw(198)
                Layout.preferredHeight: vw(1)
                Layout.topMargin: vw(12)
                Layout.leftMargin: vw(16)
                color: "#EEEEEE"
            }

            Row {
                objectName: "widthRow"
                Layout.preferredWidth: vw(198)
                Layout.preferredHeight: vw(72)
                Layout.topMargin: vw(0)
                Layout.leftMargin: vw(16)
                spacing: vw(16)

                Repeater {
                    model: 4

                    Rectangle {
                        id: ring
                        objectName: "widthRing" + index
                        anchors.verticalCenter: parent.verticalCenter
                        width: vw(root.radiusSize[index])
                        height: vw(root.radiusSize[index])
                        radius: vw(root.radiusSize[index])
                        color: "#00000000"
                        border.width: vw(2)
                        border.color: index === root.curPenSize ? "#1486FA" : "#00000000"

                        Rectangle {
                            objectName: "widthDot" + index
                            anchors.centerIn: parent
                            width: ring.width - vw(18)
                            height: ring.height - vw(18)
                            radius: ring.radius - vw(18)
                            color: "#888888"
                        }

                        MouseArea {
                            anchors.fill: parent
                            hoverEnabled: true
                            onEntered: ring.color = "#E3E4E5"
                            onExited: ring.color = "#00000000"
                            onClicked: {
                                root.curPenSize = index
                                root.signalPenSize(vw(root.penSize[index]))
                                console.log("边框样式：", index)
                            }
                        }
                    }
                }
            }
        }
    }
}
