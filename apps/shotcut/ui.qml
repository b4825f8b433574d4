// Shotcut's panel for Mirrel: every parameter in its group, built from mirrel.js (written from
// the catalogue at build time). Numbers and points are sliders in the units Kdenlive shows too,
// with keyframes; menus, switches and colours hold one value. Values go to MLT as frei0r values.
import QtQuick 2.12
import QtQuick.Controls 2.12
import QtQuick.Layouts 1.12
import Shotcut.Controls 1.0 as Shotcut
import "mirrel.js" as Mirrel

Shotcut.KeyframableFilter {
    id: root

    property var params: Mirrel.params
    property var names: params.map(function (p) { return p.name; })

    signal refresh()

    function setControls() {
        blockUpdate = true;
        refresh();
        blockUpdate = false;
    }

    keyframableParameters: params.filter(function (p) { return p.animated; }).map(function (p) { return p.name; })
    startValues: params.filter(function (p) { return p.animated; }).map(function (p) { return p.def; })
    middleValues: params.filter(function (p) { return p.animated; }).map(function (p) { return p.def; })
    endValues: params.filter(function (p) { return p.animated; }).map(function (p) { return p.def; })
    width: 420
    height: column.implicitHeight + 16

    Component.onCompleted: {
        // MLT cuts a frei0r filter into strips when `threads` is other than 1, and each strip
        // would get a reflection of its own: it stays unset.
        if (filter.get('threads') !== '')
            filter.resetProperty('threads');
        if (filter.isNew) {
            for (var i = 0; i < params.length; ++i) {
                var p = params[i];
                filter.set(p.name, p.kind === 'menu' ? p.values[p.def] : p.def);
            }
            filter.savePreset(names);
        }
        setControls();
    }

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: 8

        RowLayout {
            Label {
                text: qsTr('Preset')
                Layout.minimumWidth: 130
                horizontalAlignment: Text.AlignRight
            }

            Shotcut.Preset {
                id: preset

                parameters: root.names
                Layout.fillWidth: true
                onBeforePresetLoaded: resetSimpleKeyframes()
                onPresetSelected: {
                    setControls();
                    initializeSimpleKeyframes();
                }
            }
        }

        Repeater {
            model: root.params.length

            ColumnLayout {
                id: row

                property var p: root.params[index]

                // The frei0r value the controls show now, written where it belongs.
                function write(value) {
                    if (root.blockUpdate)
                        return;
                    if (p.animated)
                        updateFilter(p.name, value, keys, getPosition());
                    else
                        filter.set(p.name, value);
                }

                function load() {
                    var position = getPosition();
                    if (p.kind === 'number')
                        slider.value = filter.getDouble(p.name, position) * p.factor;
                    else if (p.kind === 'menu')
                        combo.currentIndex = Math.round(Math.min(Math.max(filter.getDouble(p.name), 0), 1) * (p.entries.length - 1));
                    else if (p.kind === 'bool')
                        check.checked = filter.getDouble(p.name) >= 0.5;
                    else
                        color.value = filter.get(p.name);
                    if (p.animated)
                        keys.checked = filter.keyframeCount(p.name) > 0;
                }

                function reset() {
                    if (p.kind === 'number') {
                        slider.value = p.def * p.factor;
                    } else {
                        filter.set(p.name, p.kind === 'menu' ? p.values[p.def] : p.def);
                        setControls();
                    }
                }

                Layout.fillWidth: true

                Connections {
                    target: root
                    function onRefresh() {
                        row.load();
                    }
                }

                Label {
                    visible: index === 0 || root.params[index - 1].group !== p.group
                    text: p.group
                    font.bold: true
                    topPadding: 6
                }

                RowLayout {
                    Label {
                        text: p.name
                        Layout.minimumWidth: 130
                        horizontalAlignment: Text.AlignRight
                    }

                    Shotcut.SliderSpinner {
                        id: slider

                        visible: p.kind === 'number'
                        minimumValue: p.kind === 'number' ? p.min : 0
                        maximumValue: p.kind === 'number' ? p.max : 1
                        decimals: p.kind === 'number' ? p.decimals : 0
                        stepSize: Math.pow(10, -decimals)
                        suffix: p.unit ? ' ' + p.unit : ''
                        Layout.fillWidth: true
                        onValueChanged: {
                            if (p.kind === 'number')
                                row.write(value / p.factor);
                        }
                    }

                    Shotcut.ComboBox {
                        id: combo

                        visible: p.kind === 'menu'
                        model: p.kind === 'menu' ? p.entries : []
                        Layout.fillWidth: true
                        onActivated: filter.set(p.name, p.values[index])
                    }

                    CheckBox {
                        id: check

                        visible: p.kind === 'bool'
                        Layout.fillWidth: true
                        onClicked: filter.set(p.name, checked ? 1 : 0)
                    }

                    Shotcut.ColorPicker {
                        id: color

                        visible: p.kind === 'color'
                        Layout.fillWidth: true
                        onValueChanged: {
                            if (p.kind === 'color' && !root.blockUpdate)
                                filter.set(p.name, '' + value);
                        }
                    }

                    Shotcut.UndoButton {
                        onClicked: row.reset()
                    }

                    Shotcut.KeyframesButton {
                        id: keys

                        opacity: p.animated ? 1 : 0
                        enabled: p.animated
                        onToggled: {
                            toggleKeyframes(checked, p.name, slider.value / p.factor);
                            setControls();
                        }
                    }
                }
            }
        }

        Item {
            Layout.fillHeight: true
        }
    }

    Connections {
        function onChanged() {
            setControls();
        }

        function onPropertyChanged(name) {
            setControls();
        }

        target: filter
    }

    Connections {
        function onPositionChanged() {
            setControls();
        }

        target: producer
    }
}
