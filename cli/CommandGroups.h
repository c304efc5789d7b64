#pragma once

/// The commands of `orvo`, one group per file. Each function adds its commands to the application and binds them to the
/// session, which must live as long as the application.

namespace CLI {
class App;
}

namespace orvo::cli {

class Session;

void addSourcesCommand(CLI::App& app, Session& session);
void addRecordCommand(CLI::App& app, Session& session);
void addLibraryCommands(CLI::App& app, Session& session); ///< list, show
void addProjectCommands(CLI::App& app, Session& session); ///< duplicate, delete
void addImportCommand(CLI::App& app, Session& session);
void addOpenCommand(CLI::App& app, Session& session);
void addEditCommands(CLI::App& app, Session& session); ///< cut, restore, undo, redo
void addElementCommands(CLI::App& app, Session& session); ///< text (also prints the transcript), image, zoom, remove
void addSetCommand(CLI::App& app, Session& session);
void addTranscribeCommand(CLI::App& app, Session& session);
void addTranscriptCommands(CLI::App& app, Session& session); ///< words, subtitles
void addSuggestionCommands(CLI::App& app, Session& session); ///< suggest, apply
void addRecoverCommand(CLI::App& app, Session& session);
void addExportCommand(CLI::App& app, Session& session);
void addPackageCommand(CLI::App& app, Session& session);
void addPublishCommands(CLI::App& app, Session& session); ///< publish, unpublish
void addSettingsCommand(CLI::App& app, Session& session);
void addCheckCommand(CLI::App& app, Session& session);
void addValidateCommand(CLI::App& app, Session& session);

} // namespace orvo::cli
