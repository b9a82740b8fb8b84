#include "adapters/qt/network/QtUrlSession.h"

#include "tests/contract/ScopedVariable.h"
#include "tests/contract/UrlSessionContract.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "tests/support/TestServer.h"

#include <condition_variable>
#include <map>
#include <mutex>

namespace sonvale::tests {

namespace {

class FakeEnvironment {
public:
    FakeEnvironment() {
        fake_->control().onRequest([this](FakeRequest& request) { arrived(request); });
    }

    platform::UrlSessions& sessions() { return *fake_; }
    void endSessions() {
        ended_ = received();
        fake_.reset();
    }
    std::string url(const std::string& path) const { return origin + path; }

    void answer(const std::string& path, int status, const std::string& body) {
        const std::lock_guard lock(mutex_);
        answers_[path] = [status, body](FakeRequest& request) { request.answer(status, body); };
    }
    void hang(const std::string&) {}
    void hangUntilReleased(const std::string&) {}
    void release() { fake_->control().lastRequest()->answer(200, "late"); }
    void close(const std::string& path) {
        const std::lock_guard lock(mutex_);
        answers_[path] = [](FakeRequest& request) {
            request.fail(platform::UrlError::Code::networkConnectionLost);
        };
    }

    std::vector<ReceivedRequest> received() const {
        if (!fake_)
            return ended_;
        std::vector<ReceivedRequest> all;
        for (const auto& request : fake_->control().requests())
            all.push_back({request->method, request->url.substr(origin.size()), request->body.value_or(""),
                           request->header("Authorization").value_or(""),
                           request->header("Content-Type").value_or("")});
        return all;
    }

private:
    void arrived(FakeRequest& request) {
        std::function<void(FakeRequest&)> answer;
        {
            const std::lock_guard lock(mutex_);
            const auto found = answers_.find(request.url.substr(origin.size()));
            if (found != answers_.end())
                answer = found->second;
        }
        if (answer)
            answer(request);
    }

    inline static const std::string origin = "http://fake";
    std::mutex mutex_;
    std::map<std::string, std::function<void(FakeRequest&)>> answers_; ///< guarded by `mutex_`
    std::vector<ReceivedRequest> ended_;
    std::unique_ptr<FakeUrlSessions> fake_ = std::make_unique<FakeUrlSessions>();
};

template <bool IsTls>
class QtEnvironment {
public:
    QtEnvironment()
        : server_({.isTls = IsTls})
        , authorities_("SSL_CERT_FILE", IsTls ? server_.caFile().string() : std::string()) {}
    ~QtEnvironment() { release(); }

    platform::UrlSessions& sessions() { return *sessions_; }
    void endSessions() { sessions_.reset(); }
    std::string url(const std::string& path) const { return server_.url(path); }

    void answer(const std::string& path, int status, const std::string& body) {
        Answer answer;
        answer.status = status;
        answer.body = body;
        server_.answer(path, answer);
    }
    void hang(const std::string& path) { server_.answer(path, faulty(Answer::Fault::neverAnswers)); }
    void hangUntilReleased(const std::string& path) {
        server_.answerBy(path, [this](const Request&) {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return isReleased_; });
            Answer answer;
            answer.body = "late";
            return answer;
        });
    }
    void release() {
        const std::lock_guard lock(mutex_);
        isReleased_ = true;
        changed_.notify_all();
    }
    void close(const std::string& path) { server_.answer(path, faulty(Answer::Fault::closesBeforeAnswer)); }

    std::vector<ReceivedRequest> received() const {
        std::vector<ReceivedRequest> all;
        for (const auto& request : server_.requests())
            all.push_back({request.method, request.target, request.body, request.header("Authorization"),
                           request.header("Content-Type")});
        return all;
    }

private:
    static Answer faulty(Answer::Fault fault) {
        Answer answer;
        answer.fault = fault;
        return answer;
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool isReleased_ = false; ///< guarded by `mutex_`
    TestServer server_;
    const ScopedVariable authorities_;
    std::unique_ptr<platform::UrlSessions> sessions_ = std::make_unique<adapters::qt::QtUrlSessions>();
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, UrlSessionContract, FakeEnvironment);
INSTANTIATE_TYPED_TEST_SUITE_P(Qt, UrlSessionContract, QtEnvironment<false>);
INSTANTIATE_TYPED_TEST_SUITE_P(QtTls, UrlSessionContract, QtEnvironment<true>);

} // namespace sonvale::tests
