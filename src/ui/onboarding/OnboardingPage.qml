import QtQuick

/// What one step of the onboarding shows.
QtObject {
    /// An `OnboardingStep`.
    required property int step
    /// Drawn above the title; empty for a step with a picture of its own.
    property string symbol
    required property string title
    required property string body
    /// The text of the button that asks for the step's permission; empty for a step without one.
    property string ask
}
