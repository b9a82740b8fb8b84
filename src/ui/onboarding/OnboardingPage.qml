import QtQuick

/// The content of one step of the onboarding.
QtObject {
    /// An `OnboardingStep`.
    required property int step
    /// The symbol above the title; empty for a step with a picture of its own.
    property string symbol
    required property string title
    required property string body
    /// The text of the button that asks for the step's permission; empty for a step without one.
    property string ask
}
