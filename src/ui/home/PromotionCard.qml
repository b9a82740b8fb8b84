import QtQuick
import SonVale

/// A card that leads to the styles.
SVCard {
    id: card

    signal accepted

    implicitHeight: body.height + 2 * padding

    Column {
        id: body

        width: parent.width
        spacing: Theme.inControl

        Text {
            objectName: "promotion"
            width: parent.width
            text: Texts.promotionHeading.arg("<font color=\"%1\">%2</font>".arg(Theme.accent).arg(Texts.promotionYou))
            textFormat: Text.StyledText
            font: Theme.section
            color: Theme.text
            wrapMode: Text.Wrap
            Accessible.role: Accessible.Heading
            Accessible.name: Texts.promotionHeading.arg(Texts.promotionYou)
        }
        SVText {
            isParagraph: true
            width: parent.width
            text: Texts.promotionBody
            color: Theme.secondaryText
            bottomPadding: 4
        }
        SVPrimaryButtonStyle {
            objectName: "startNow"
            text: Texts.startNow
            onClicked: card.accepted()
        }
    }
}
