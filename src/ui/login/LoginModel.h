#pragma once

#include "base/Observed.h"
#include "runtime/Task.h"
#include "services/AuthService.h"
#include "ui/login/WipedText.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <memory>
#include <string>

namespace sonvale::ui {

/// The screen of a signed-out user, which signs in or creates an account. Main actor.
class LoginModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(QString email READ email WRITE setEmail NOTIFY inputChanged)
    Q_PROPERTY(QString password READ password WRITE setPassword NOTIFY inputChanged)
    Q_PROPERTY(QString confirmPassword READ confirmPassword WRITE setConfirmPassword NOTIFY inputChanged)
    Q_PROPERTY(bool isSignUp READ isSignUp NOTIFY modeChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY loadingChanged)
    Q_PROPERTY(QString localError READ localError NOTIFY localErrorChanged)

public:
    LoginModel(runtime::Actor main, std::shared_ptr<services::AuthService> authService);
    ~LoginModel() override;

    // The model keeps a typed text in its own memory, and overwrites it when the text changes or the model is
    // destroyed.
    QString email() const { return unsharedCopy(email_); }
    void setEmail(const QString& text) { setInput(email_, text); }
    QString password() const { return unsharedCopy(password_); }
    void setPassword(const QString& text) { setInput(password_, text); }
    QString confirmPassword() const { return unsharedCopy(confirmPassword_); }
    void setConfirmPassword(const QString& text) { setInput(confirmPassword_, text); }
    bool isSignUp() const { return isSignUp_; }
    bool isLoading() const { return authService_->isLoading.get(); }
    QString localError() const { return localError_; } ///< empty for none

    /// Switches between sign-in and a new account. Keeps the e-mail and the password.
    Q_INVOKABLE void toggleMode();
    /// Sends the request. Does nothing if the input is wrong or a request is in progress.
    Q_INVOKABLE void submit();
    /// Overwrites the typed texts and returns to an empty sign-in form. Called for each new view of the form
    /// and after a success.
    void reset();

    Q_SIGNAL void inputChanged();
    Q_SIGNAL void modeChanged();
    Q_SIGNAL void loadingChanged();
    Q_SIGNAL void localErrorChanged();

private:
    static runtime::Task<> authenticate(std::weak_ptr<LoginModel*> weakSelf,
                                        std::shared_ptr<services::AuthService> authService, bool isSignUp,
                                        std::string email, std::string password);
    void setInput(QString& field, const QString& text);
    void wipeInput();
    void setLocalError(const QString& error);

    const runtime::Actor main_;
    const std::shared_ptr<services::AuthService> authService_;
    base::Subscription loading_;
    QString email_;
    QString password_;
    QString confirmPassword_;
    bool isSignUp_ = false;
    QString localError_;
    std::shared_ptr<LoginModel*> self_ = std::make_shared<LoginModel*>(this); ///< tasks hold it weakly
};

} // namespace sonvale::ui
