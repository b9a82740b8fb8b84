#pragma once

#include "platform/AudioFile.h"

#include <cmath>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// Keeps the written audio in memory, and makes a small real file at each path, so that files are really
/// deleted.
class FakeAudioFiles final : public platform::AudioFiles {
public:
    /// The operations for tests. Any thread.
    class Control {
    public:
        /// Makes every `create` throw `text`, until called with nullopt.
        void failCreating(std::optional<std::string> text) { set(createFailure_, std::move(text)); }
        /// Loses every written buffer and makes the file's `close` throw `text`, until called with nullopt.
        void failWriting(std::optional<std::string> text) { set(writeFailure_, std::move(text)); }
        /// Makes every `close` throw `text`, until called with nullopt.
        void failClosing(std::optional<std::string> text) { set(closeFailure_, std::move(text)); }
        /// Makes every `read` throw `text`, until called with nullopt.
        void failReading(std::optional<std::string> text) { set(readFailure_, std::move(text)); }

        /// Returns the paths of all created files, in order.
        std::vector<std::filesystem::path> created() const {
            const std::lock_guard lock(mutex_);
            return created_;
        }

        platform::AudioFormat format(const std::filesystem::path& path) const { return at(path).format; }
        bool isClosed(const std::filesystem::path& path) const { return at(path).isClosed; }
        /// Returns the written buffers themselves, in order.
        std::vector<platform::PcmBufferPtr> written(const std::filesystem::path& path) const {
            return at(path).buffers;
        }
        /// Returns the samples of one channel of everything that was written, as they were at the time of
        /// writing.
        std::vector<float> samples(const std::filesystem::path& path, std::size_t channel = 0) const {
            return at(path).samples.at(channel);
        }

    private:
        friend class FakeAudioFiles;
        struct File {
            platform::AudioFormat format;
            std::vector<platform::PcmBufferPtr> buffers;
            std::vector<std::vector<float>> samples; ///< by channel
            bool isClosed = false;
        };

        void set(std::optional<std::string>& failure, std::optional<std::string> text) {
            const std::lock_guard lock(mutex_);
            failure = std::move(text);
        }

        File at(const std::filesystem::path& path) const {
            const std::lock_guard lock(mutex_);
            return files_.at(path);
        }

        mutable std::mutex mutex_;
        std::optional<std::string> createFailure_;
        std::optional<std::string> writeFailure_;
        std::optional<std::string> closeFailure_;
        std::optional<std::string> readFailure_;
        std::vector<std::filesystem::path> created_;
        std::map<std::filesystem::path, File> files_;
    };

    std::unique_ptr<platform::AudioFileWriter> create(const std::filesystem::path& path,
                                                      const platform::AudioFormat& format) override {
        const std::lock_guard lock(control_->mutex_);
        if (control_->createFailure_)
            throw platform::AudioFileError(*control_->createFailure_);
        if (!std::ofstream(path, std::ios::binary).write("head", 4).flush())
            throw platform::AudioFileError("The file " + path.string() + " cannot be made.");
        std::filesystem::permissions(path, std::filesystem::perms::owner_read |
                                               std::filesystem::perms::owner_write);
        control_->created_.push_back(path);
        auto& file = control_->files_[path];
        file = {format, {}, std::vector<std::vector<float>>(format.channelCount), false};
        return std::make_unique<Writer>(control_, path);
    }

    platform::PcmBufferPtr read(const std::filesystem::path& path,
                                const platform::AudioFormat& format) override {
        const std::lock_guard lock(control_->mutex_);
        if (control_->readFailure_)
            throw platform::AudioFileError(*control_->readFailure_);
        const auto found = control_->files_.find(path);
        if (found == control_->files_.end() || !std::filesystem::exists(path))
            throw platform::AudioFileError("The file " + path.string() + " cannot be read.");
        return converted(found->second, format);
    }

    Control& control() { return *control_; }

private:
    class Writer final : public platform::AudioFileWriter {
    public:
        Writer(std::shared_ptr<Control> control, std::filesystem::path path)
            : control_(std::move(control))
            , path_(std::move(path)) {}

        ~Writer() override {
            try {
                close();
            } catch (const platform::AudioFileError&) {
                // The port says that the destructor ignores the error of closing.
            }
        }

        void write(platform::PcmBufferPtr buffer) override {
            const std::lock_guard lock(control_->mutex_);
            if (control_->writeFailure_) {
                if (!failure_)
                    failure_ = control_->writeFailure_;
                return;
            }
            auto& file = control_->files_.at(path_);
            for (std::size_t channel = 0; channel < file.samples.size(); ++channel) {
                const auto samples = buffer->channel(channel);
                file.samples[channel].insert(file.samples[channel].end(), samples.begin(), samples.end());
            }
            file.buffers.push_back(std::move(buffer));
        }

        void close() override {
            const std::lock_guard lock(control_->mutex_);
            if (std::exchange(isClosed_, true))
                return;
            control_->files_.at(path_).isClosed = true;
            if (!failure_)
                failure_ = control_->closeFailure_;
            if (failure_)
                throw platform::AudioFileError(*failure_);
        }

    private:
        std::shared_ptr<Control> control_;
        std::filesystem::path path_;
        std::optional<std::string> failure_;
        bool isClosed_ = false;
    };

    /// Takes the nearest samples and averages the channels.
    static platform::PcmBufferPtr converted(const Control::File& file, const platform::AudioFormat& format) {
        const std::size_t frames = file.samples.empty() ? 0 : file.samples.front().size();
        const double step = file.format.sampleRate / format.sampleRate;
        const auto length = static_cast<std::size_t>(std::floor(static_cast<double>(frames) / step));
        auto result = std::make_shared<platform::PcmBuffer>(format, length);
        for (std::size_t i = 0; i < length; ++i) {
            const auto from = static_cast<std::size_t>(static_cast<double>(i) * step);
            float sum = 0;
            for (const auto& channel : file.samples)
                sum += channel[from];
            for (std::size_t channel = 0; channel < format.channelCount; ++channel)
                result->channel(channel)[i] = sum / static_cast<float>(file.samples.size());
        }
        return result;
    }

    std::shared_ptr<Control> control_ = std::make_shared<Control>();
};

} // namespace sonvale::tests
