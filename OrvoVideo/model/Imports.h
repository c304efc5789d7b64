#pragma once

#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/ProjectLibrary.h"
#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QObject>
#include <deque>
#include <filesystem>
#include <optional>

namespace orvo {

/// Imports movies into the library. Main thread only.
class Imports {
public:
    /// The collaborators of imports; all outlive this object.
    struct Parts {
        const AppServices& services;
        OpenProject& open;
        ProjectLibrary& library;
        Operation& operation;
        Workers& workers;
    };
    explicit Imports(const Parts& parts);

    /// Asks for a movie and imports it. Ignored while recording.
    void askAndImport(bool append);
    /// Imports a movie as a new project and opens it, or appends it to the open project (without one, makes a new project).
    /// A long operation: waits while another one runs. Ignored while recording.
    void importMovie(std::filesystem::path movie, bool append);

private:
    struct Waiting {
        std::filesystem::path movie;
        std::optional<VideoProject> target; ///< The project to append to; nullopt makes a new project.
    };

    QCoro::Task<> pickMovie(bool append);
    void startNext();
    QCoro::Task<> importNew(std::filesystem::path movie, WorkControl control);
    QCoro::Task<> importInto(VideoProject target, std::filesystem::path movie, WorkControl control);

    const Parts m_parts;
    std::deque<Waiting> m_waiting;
    QObject m_context; ///< Context of the connections, because `Imports` is no `QObject`.
};

} // namespace orvo
