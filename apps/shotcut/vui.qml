// Mirrel's handles on Shotcut's player: "Baseline Start", "Baseline End", "Height and Slant" and
// "Translate" are dragged where they stand in the frame (fractions of it, y down), the baseline
// drawn between its two ends.
import QtQuick 2.12
import Shotcut.Controls 1.0 as Shotcut

Shotcut.VuiBase {
    id: vui

    property real zoom: (video.zoom > 0) ? video.zoom : 1
    property int handleSize: Math.max(Math.round(18 / zoom), 8)
    property var points: [
        {name: 'Baseline Start', mark: 'S'},
        {name: 'Baseline End', mark: 'E'},
        {name: 'Height and Slant', mark: 'H'},
        {name: 'Translate', mark: 'T'}
    ]

    signal refresh()

    function getPosition() {
        return Math.max(producer.position - (filter.in - producer.in), 0);
    }

    // A point's value at the playhead, as the panel reads it.
    function pointAt(name) {
        var position = getPosition();
        return Qt.point(filter.getDouble(name + ' X', position), filter.getDouble(name + ' Y', position));
    }

    // Writes a point as the panel does: a key at the playhead when it has keyframes, else its one
    // value.
    function setPoint(name, x, y) {
        var animated = filter.keyframeCount(name + ' X') > 0 || filter.keyframeCount(name + ' Y') > 0;
        var position = animated ? getPosition() : -1;
        filter.set(name + ' X', x, position);
        filter.set(name + ' Y', y, position);
    }

    Flickable {
        anchors.fill: parent
        interactive: false
        clip: true
        contentWidth: video.rect.width * zoom
        contentHeight: video.rect.height * zoom
        contentX: video.offset.x
        contentY: video.offset.y

        Item {
            id: videoItem

            x: video.rect.x
            y: video.rect.y
            width: video.rect.width
            height: video.rect.height
            scale: zoom

            Canvas {
                id: baseline

                anchors.fill: parent
                onPaint: {
                    var ctx = getContext('2d');
                    ctx.reset();
                    var a = pointAt('Baseline Start'), b = pointAt('Baseline End'), h = pointAt('Height and Slant');
                    ctx.lineWidth = Math.max(2 / zoom, 1);
                    ctx.strokeStyle = 'white';
                    ctx.beginPath();
                    ctx.moveTo(a.x * width, a.y * height);
                    ctx.lineTo(b.x * width, b.y * height);
                    ctx.moveTo((a.x + b.x) / 2 * width, (a.y + b.y) / 2 * height);
                    ctx.lineTo(h.x * width, h.y * height);
                    ctx.stroke();
                }
            }

            Repeater {
                model: vui.points

                Rectangle {
                    id: handle

                    property string name: modelData.name

                    function place() {
                        if (drag.drag.active)
                            return;
                        var p = pointAt(name);
                        x = p.x * videoItem.width - width / 2;
                        y = p.y * videoItem.height - height / 2;
                    }

                    width: handleSize
                    height: handleSize
                    radius: handleSize / 2
                    color: 'white'
                    border.color: 'black'
                    opacity: 0.85
                    Component.onCompleted: place()

                    Connections {
                        target: vui
                        function onRefresh() {
                            handle.place();
                        }
                    }

                    Text {
                        anchors.centerIn: parent
                        text: modelData.mark
                        font.pixelSize: handleSize * 0.7
                    }

                    MouseArea {
                        id: drag

                        anchors.fill: parent
                        cursorShape: Qt.SizeAllCursor
                        drag.target: parent
                        drag.threshold: 0
                        onPositionChanged: {
                            setPoint(handle.name, (handle.x + handle.width / 2) / videoItem.width, (handle.y + handle.height / 2) / videoItem.height);
                            baseline.requestPaint();
                        }
                    }
                }
            }
        }
    }

    Connections {
        function onChanged() {
            vui.refresh();
            baseline.requestPaint();
        }

        function onPropertyChanged(name) {
            vui.refresh();
            baseline.requestPaint();
        }

        target: filter
    }

    Connections {
        function onPositionChanged() {
            vui.refresh();
            baseline.requestPaint();
        }

        target: producer
    }
}
