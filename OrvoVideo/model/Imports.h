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

/// Brings movies into the library. Main thread only.
class Imports {
public:
    /// What imports work with. All of it outlives this object.
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
    /// Imports a movie, a long operation: as a new project, which is opened, or behind everything in the open project (a new
    /// one when none is open). While another operation runs it waits for its end. Ignored while recording.
    void importMovie(std::filesystem::path movie, bool append);

private:
    struct Waiting {
        std::filesystem::path movie;
        std::optional<VideoProject> target; ///< What it is appended to; a new project without one.
    };

    QCoro::Task<> pickMovie(bool append);
    void startNext();
    QCoro::Task<> importNew(std::filesystem::path movie, WorkControl control);
    QCoro::Task<> importInto(VideoProject target, std::filesystem::path movie, WorkControl control);

    const Parts m_parts;
    std::deque<Waiting> m_waiting;
    QObject m_context; ///< Of the connections: this is no object of Qt.
};

} // namespace orvo
