#include "ui/login/LoginModel.h"

#include "base/Wipe.h"
#include "ui/common/Texts.h"
#include "ui/login/LoginCheck.h"

#include <utility>

namespace sonvale::ui {

LoginModel::LoginModel(runtime::Actor main, std::shared_ptr<services::AuthService> authService)
    : main_(std::move(main))
    , authService_(std::move(authService)) {
    loading_ = authService_->isLoading.subscribe([this](bool) { Q_EMIT loadingChanged(); });
}

LoginModel::~LoginModel() {
    wipeInput();
}

void LoginModel::setInput(QString& field, const QString& text) {
    if (field == text)
        return;
    wipe(field);
    field = unsharedCopy(text);
    Q_EMIT inputChanged();
}

void LoginModel::wipeInput() {
    for (auto* each : {&email_, &password_, &confirmPassword_})
        wipe(*each);
}

void LoginModel::reset() {
    wipeInput();
    setLocalError({});
    Q_EMIT inputChanged();
    if (std::exchange(isSignUp_, false))
        Q_EMIT modeChanged();
}

void LoginModel::toggleMode() {
    isSignUp_ = !isSignUp_;
    setLocalError({});
    wipe(confirmPassword_);
    Q_EMIT inputChanged();
    Q_EMIT modeChanged();
}

void LoginModel::submit() {
    if (isLoading())
        return;
    setLocalError({});
    SignInInput input{.email = email_.toStdString(),
                      .password = password_.toStdString(),
                      .confirmPassword = confirmPassword_.toStdString(),
                      .isSignUp = isSignUp_};
    if (const auto problem = loginCheck(input))
        setLocalError(translated(*problem));
    else
        runtime::spawn(main_,
                       authenticate(self_, authService_, isSignUp_, sentEmail(input.email), input.password));
    base::wipe(input.password);
    base::wipe(input.confirmPassword);
}

runtime::Task<> LoginModel::authenticate(std::weak_ptr<LoginModel*> weakSelf,
                                         std::shared_ptr<services::AuthService> authService, bool isSignUp,
                                         std::string email, std::string password) {
    std::optional<QString> failure;
    try {
        auto request = isSignUp ? authService->signUp(std::move(email), password)
                                : authService->signIn(std::move(email), password);
        base::wipe(password);
        co_await std::move(request);
    } catch (const services::AuthError& error) {
        failure = translated(error.what());
    }
    const auto self = weakSelf.lock();
    if (!self)
        co_return;
    if (failure)
        (*self)->setLocalError(*failure);
    else
        (*self)->reset();
}

void LoginModel::setLocalError(const QString& error) {
    if (localError_ == error)
        return;
    localError_ = error;
    Q_EMIT localErrorChanged();
}

} // namespace sonvale::ui
