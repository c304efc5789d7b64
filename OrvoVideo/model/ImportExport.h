#pragma once

#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/ExportChoice.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/ProjectLibrary.h"
#include "OrvoVideo/model/Saving.h"
#include "OrvoVideo/model/Values.h"
#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <filesystem>

namespace orvo {

/// Brings movies into the library and renders films. Main thread only.
class ImportExport {
public:
    /// What import and export work with. All of it outlives this object.
    struct Parts {
        const AppServices& services;
        const RunSettings& settings;
        const ExportChoice& exportChoice;
        OpenProject& open;
        Saving& saving;
        ProjectLibrary& library;
        Operation& operation;
        Workers& workers;
    };
    explicit ImportExport(const Parts& parts)
        : m_parts(parts)
    {
    }

    /// Asks for a movie and imports it. Ignored while recording.
    void askAndImport(bool append);
    /// Imports a movie, a long operation: as a new project, which is opened, or behind everything in the open project (a new
    /// one when none is open). Ignored while recording.
    void importMovie(std::filesystem::path movie, bool append);

    /// Asks where to, renders the open project as it is now and shows the file.
    void exportVideo();

private:
    QCoro::Task<> pickMovie(bool append);
    QCoro::Task<> importNew(std::filesystem::path movie, WorkControl control);
    QCoro::Task<> importInto(Uuid target, std::filesystem::path movie, WorkControl control);
    QCoro::Task<> pickDestination(VideoProject project);

    const Parts m_parts;
};

} // namespace orvo
