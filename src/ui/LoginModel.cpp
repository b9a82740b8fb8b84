#include "ui/LoginModel.h"

#include "ui/LoginCheck.h"
#include "ui/Texts.h"

namespace sonvale::ui {

LoginModel::LoginModel(runtime::Actor main, std::shared_ptr<services::AuthService> authService)
    : main_(std::move(main))
    , authService_(std::move(authService)) {
    loading_ = authService_->isLoading.subscribe([this](bool) { Q_EMIT loadingChanged(); });
}

LoginModel::~LoginModel() = default;

void LoginModel::toggleMode() {
    isSignUp_ = !isSignUp_;
    setLocalError({});
    confirmPassword_.clear();
    Q_EMIT inputChanged();
    Q_EMIT modeChanged();
}

void LoginModel::submit() {
    if (isLoading())
        return;
    setLocalError({});
    const LoginInput input{.email = email_.toStdString(),
                           .password = password_.toStdString(),
                           .confirmPassword = confirmPassword_.toStdString(),
                           .isSignUp = isSignUp_};
    if (const auto problem = loginCheck(input)) {
        setLocalError(translated(*problem));
        return;
    }
    runtime::spawn(main_,
                   authenticate(self_, authService_, isSignUp_, sentEmail(input.email), input.password));
}

runtime::Task<> LoginModel::authenticate(std::weak_ptr<LoginModel*> weakSelf,
                                         std::shared_ptr<services::AuthService> authService, bool isSignUp,
                                         std::string email, std::string password) {
    QString failure;
    try {
        if (isSignUp)
            co_await authService->signUp(std::move(email), std::move(password));
        else
            co_await authService->signIn(std::move(email), std::move(password));
    } catch (const services::AuthError& error) {
        failure = translated(error.what());
    }
    // Once signed in, the view has gone.
    if (const auto self = weakSelf.lock())
        (*self)->setLocalError(failure);
}

void LoginModel::setLocalError(const QString& error) {
    if (localError_ == error)
        return;
    localError_ = error;
    Q_EMIT localErrorChanged();
}

} // namespace sonvale::ui
