#include "tests/e2e/SpeechService.h"

#include <deque>
#include <iterator>
#include <memory>
#include <mutex>

namespace sonvale::tests {

namespace {

std::string messageOf(const Request& request, std::size_t place) {
    return base::Json::parse(request.body).at("messages").at(place).at("content");
}

} // namespace

Session::Options streamingTo(const TestServer& server, bool isCleaned, Editor::Program editor) {
    Session::Options options;
    options.editor = editor;
    options.prepare = [isCleaned](PrivateDesktop& desktop) {
        RunningProgram::writeSettings(desktop, base::Json{{"isOnboardingComplete", true},
                                                          {"transcriptionEngine", "streaming"},
                                                          {"aiProcessingEnabled", isCleaned}}
                                                   .dump());
    };
    options.program.info = {{"OPENAI_API_KEY", serviceKey},
                            {"OPENAI_BASE_URL", server.url()},
                            {"CFBundleShortVersionString", "1.0"}};
    return options;
}

void hear(TestServer& server, std::vector<std::string> transcripts) {
    struct Queue {
        std::mutex mutex;
        std::deque<std::string> texts;
    };
    auto queue = std::make_shared<Queue>();
    queue->texts.assign(std::make_move_iterator(transcripts.begin()),
                        std::make_move_iterator(transcripts.end()));
    Realtime realtime;
    realtime.token = serviceKey;
    realtime.refusesShortAudio = false;
    realtime.transcriber = [queue](const std::string&) {
        const std::lock_guard lock(queue->mutex);
        if (queue->texts.empty())
            return std::string();
        auto text = std::move(queue->texts.front());
        queue->texts.pop_front();
        return text;
    };
    server.setRealtime(realtime);
}

int commits(const TestServer& server) {
    int count = 0;
    for (const auto& socket : server.sockets())
        count += socket.commits;
    return count;
}

bool waitForCommits(const TestServer& server, int count) {
    return eventually(10, [&] { return commits(server) >= count; });
}

std::string systemPromptOf(const Request& request) {
    return messageOf(request, 0);
}

std::string userMessageOf(const Request& request) {
    return messageOf(request, 1);
}

} // namespace sonvale::tests
