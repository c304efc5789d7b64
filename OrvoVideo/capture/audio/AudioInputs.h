#pragma once

#include "OrvoVideo/capture/CaptureTime.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orvo {

/// A piece of sound: 48,000 times a second one sample of every channel, −1..1.
struct SoundBlock {
    static constexpr int rate = 48'000;

    std::vector<float> samples; ///< Interleaved.
    int channels = 1; ///< 1 or 2.
    CaptureTime time; ///< When the first sample was heard.

    std::size_t frames() const noexcept { return samples.size() / static_cast<std::size_t>(channels); }
};

/// A device that sound comes from: a microphone, or an output whose sound can be recorded.
struct AudioDevice {
    std::string id;
    std::string label; ///< Shown to the user.
    bool isDefault = false;
};

/// Recording of sound through the PulseAudio protocol, which PulseAudio and PipeWire both serve.
namespace AudioInputs {

struct Devices {
    std::vector<AudioDevice> microphones;
    std::vector<AudioDevice> outputs;
};

/// The devices there are, each once. Blocks for up to a few seconds. Throws `captureError` when there is no sound server.
Devices list();

/// Whether a microphone can be recorded at all. False when there is no sound server or the server has none; true when the
/// server does not answer or refuses to say, so that opening one reports the reason. Blocks like `list`.
bool hasMicrophone();

} // namespace AudioInputs

/// The sound of one device, or of whatever is the default one.
///
/// While the device or the sound server is away nothing is delivered; when it is back, the sound goes on by itself with the
/// right times. Sound of other rates, and of more than two channels, is converted.
class AudioStream {
public:
    enum class Input {
        microphone,
        systemSound, ///< What the computer plays.
    };

    /// Called on a thread of the stream's own, one at a time, never after the stream has gone.
    using Receiver = std::function<void(SoundBlock)>;

    /// Begins to record from the device with this identifier, or with an empty one from the default device, whichever that
    /// is at any time. Waits until the server has answered.
    ///
    /// For a microphone throws `captureError`: "Activa el permiso de micrófono en Ajustes del Sistema." when the server
    /// refuses it, "No hay un micrófono disponible." when there is none. The sound of the system needs nothing to begin: it
    /// comes when there is some.
    static std::unique_ptr<AudioStream> open(Input input, const std::string& device, Receiver receiver);

    AudioStream() = default;
    AudioStream(const AudioStream&) = delete;
    AudioStream& operator=(const AudioStream&) = delete;
    virtual ~AudioStream() = default;

    /// The largest sample, 0..1, since the last call; for a level meter. Usable from any thread.
    virtual float takePeak() = 0;
};

} // namespace orvo
