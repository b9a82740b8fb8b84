import QtQuick
import SonVale

/// The tab in which the user chooses a style for each kind of application.
FocusScope {
    id: view

    required property StyleModel model
    readonly property list<StyleCategory> categories: [
        StyleCategory {
            category: StyleModel.PersonalMessaging
            name: "personalMessaging"
            label: Texts.personalMessages
            apps: Texts.personalMessageApps
        },
        StyleCategory {
            category: StyleModel.WorkMessaging
            name: "workMessaging"
            label: Texts.workMessages
            apps: Texts.workMessageApps
        },
        StyleCategory {
            category: StyleModel.Email
            name: "email"
            label: Texts.email
            apps: Texts.emailApps
        },
        StyleCategory {
            category: StyleModel.Other
            name: "other"
            label: Texts.otherApps
            apps: Texts.otherAppsLine
        }
    ]
    readonly property StyleCategory chosen: categories[model.category]

    // The selection belongs to the view and ends with it.
    Component.onCompleted: model.selectFirst()
    Component.onDestruction: model.save()

    TabPage {
        anchors.fill: parent
        title: Texts.style
        subtitle: Texts.styleLine

        Flow {
            width: parent.width
            spacing: Theme.inControl

            Repeater {
                model: view.categories

                SelectorButton {
                    required property StyleCategory modelData

                    objectName: "category." + modelData.name
                    text: modelData.label
                    isSelected: view.model.category === modelData.category
                    onClicked: view.model.category = modelData.category
                }
            }
        }

        SVCard {
            width: parent.width
            implicitHeight: style.height + 2 * padding

            Column {
                id: style

                width: parent.width
                spacing: Theme.inCard

                SVText {
                    objectName: "styleHeading"
                    width: parent.width
                    text: Texts.promotionHeading.arg(view.chosen.label)
                    font: Theme.section
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                Column {
                    width: parent.width
                    spacing: 6

                    SVText {
                        width: parent.width
                        text: Texts.formality
                        font: Theme.rowTitle
                    }
                    SVSlider {
                        objectName: "formality"
                        width: parent.width
                        label: Texts.formality
                        from: 1
                        to: 5
                        stepSize: 1
                        value: view.model.formality
                        onMoved: view.model.formality = value
                    }
                    Item {
                        width: parent.width
                        height: casual.height

                        SVText {
                            id: casual

                            anchors.left: parent.left
                            text: Texts.veryCasual
                            font: Theme.caption
                            color: Theme.secondaryText
                        }
                        SVText {
                            anchors.right: parent.right
                            text: Texts.formal
                            font: Theme.caption
                            color: Theme.secondaryText
                        }
                    }
                    SVText {
                        objectName: "formalityText"
                        width: parent.width
                        text: view.model.formalityText
                        color: Theme.accent
                        Accessible.role: Accessible.StatusBar
                        Accessible.name: text
                    }
                }
                Column {
                    width: parent.width
                    spacing: 6

                    SVText {
                        width: parent.width
                        text: Texts.customInstructions
                        font: Theme.rowTitle
                    }
                    SVText {
                        objectName: "instructionsLine"
                        width: parent.width
                        text: Texts.customInstructionsLine.arg(view.chosen.label)
                        font: Theme.caption
                        color: Theme.secondaryText
                    }
                    SVTextArea {
                        editorName: "customInstructions"
                        width: parent.width
                        height: 120
                        label: Texts.customInstructions
                        value: view.model.customInstructions
                        onEdited: view.model.customInstructions = text
                    }
                }
            }
        }

        SettingSection {
            title: Texts.whichApps

            Repeater {
                model: view.categories

                Column {
                    id: row

                    required property StyleCategory modelData

                    width: parent ? parent.width : 0
                    spacing: 2

                    SVText {
                        width: parent.width
                        text: row.modelData.label
                        font: Theme.rowTitle
                    }
                    SVText {
                        width: parent.width
                        text: row.modelData.apps
                        color: Theme.secondaryText
                    }
                }
            }
        }

        Row {
            width: parent.width
            spacing: Theme.inControl

            Symbol {
                id: info

                name: "info.circle.fill"
                color: Theme.secondaryText
            }
            SVText {
                width: parent.width - info.width - parent.spacing
                text: Texts.styleInfo
                color: Theme.secondaryText
            }
        }
    }
}
