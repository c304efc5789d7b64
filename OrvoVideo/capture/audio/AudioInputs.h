#pragma once

#include "OrvoVideo/capture/CaptureTime.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orvo {

/// A block of audio: 32-bit float samples at 48 kHz, −1..1.
struct AudioBlock {
    static constexpr int rate = 48'000;

    std::vector<float> samples; ///< Interleaved.
    int channels = 1; ///< 1 or 2.
    CaptureTime time; ///< Capture time of the first sample.

    std::size_t frames() const noexcept { return samples.size() / static_cast<std::size_t>(channels); }
};

/// A source of audio: a microphone, or an output whose audio can be recorded.
struct AudioDevice {
    std::string id;
    std::string label; ///< Shown to the user.
    bool isDefault = false;
};

/// Audio capture over the PulseAudio protocol, which both PulseAudio and PipeWire serve.
namespace AudioInputs {

struct Devices {
    std::vector<AudioDevice> microphones;
    std::vector<AudioDevice> outputs;
};

/// The available devices. Blocks for up to three seconds. Throws `captureError` when there is no sound server.
Devices list();

/// Whether a microphone is available. Returns false when there is no sound server or the server has none. Returns true
/// when the server does not answer or denies access; opening one then reports the reason. Blocks like `list`.
bool hasMicrophone();

} // namespace AudioInputs

/// The audio of one device, or of the current default device.
///
/// Delivers nothing while the device or the sound server is away; continues with correct times when it is back. Other
/// sample rates and more than two channels are converted.
class AudioStream {
public:
    enum class Input {
        microphone,
        systemAudio, ///< The audio that the computer plays.
    };

    /// Called on a thread of the stream, one call at a time, never after the stream is destroyed.
    using Receiver = std::function<void(AudioBlock)>;

    /// Starts recording from the device with this identifier; an empty one follows the default device as it changes.
    /// Waits for the server's answer.
    ///
    /// For a microphone, throws `captureError`: "Activa el permiso de micrófono en Ajustes del Sistema." when the server
    /// denies access, "No hay un micrófono disponible." when there is none. System audio never fails: it starts when it
    /// is available.
    static std::unique_ptr<AudioStream> open(Input input, const std::string& device, Receiver receiver);

    AudioStream() = default;
    AudioStream(const AudioStream&) = delete;
    AudioStream& operator=(const AudioStream&) = delete;
    virtual ~AudioStream() = default;

    /// The peak sample since the last call, 0..1, for a level meter. Thread-safe.
    virtual float takePeak() = 0;
};

} // namespace orvo
