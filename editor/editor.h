// The editor of one process: its frames, its plug-in and its settings.
#pragma once

#include "editor/plugin_library.h"
#include "editor/recorder.h"
#include "editor/settings_file.h"

#include <windows.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

class Frame;

struct Options {
    std::filesystem::path settings;
    std::filesystem::path plugin;  // the plug-in's library; empty: none
    std::filesystem::path record;  // receives every message of the plug-in; empty: none
    std::filesystem::path report;  // receives what the docked panel shows; empty: none
    std::optional<SIZE> size;      // of the first frame, in pixels
    bool open_panel = false;       // issue the plug-in's command at the start
    bool close_after_report = false;
    std::vector<std::filesystem::path> files;
};

// Section of the editor's own settings.
inline constexpr wchar_t EDITOR_SECTION[] = L"Quorrel";

// Loads the plug-in with the first frame and tells it that it is unloaded after the last one has
// closed. Several editors may follow each other in one process. Everything runs on one thread, whose
// messages have to pass through `dispatch`.
class Editor {
public:
    explicit Editor(Options options);
    // Closes what is still open without asking.
    ~Editor();
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    // Opens the first frame with the files of the options and shows it.
    void start();
    // Dispatches messages until the last frame has closed.
    void run();
    // Does with a message what has to be done: shortcuts, the plug-in's keyboard routing, its window.
    void dispatch(MSG& message);

    Frame& open_frame();
    // Closes a frame: its bars, the plug-in's frame, its window. The object lives until the message
    // that is being dispatched has returned.
    void close_frame(Frame& frame);
    // Asks for texts that are not saved, frame by frame, and closes each frame that may be closed.
    void close_all();

    [[nodiscard]] const std::vector<std::unique_ptr<Frame>>& frames() const noexcept
    {
        return frames_;
    }
    // Null when there is none.
    [[nodiscard]] const PluginLibrary* plugin() const noexcept { return plugin_.get(); }
    [[nodiscard]] const Options& options() const noexcept { return options_; }
    [[nodiscard]] SettingsFile& settings() noexcept { return settings_; }
    [[nodiscard]] Recorder& recorder() noexcept { return recorder_; }

    // The folder of the editor's texts, whose name is the language's number.
    [[nodiscard]] std::filesystem::path language_folder() const;
    // Uses the language from now on and tells the plug-in.
    void set_language(std::uint32_t language);
    // Numbers of the languages that the plug-in has a folder for.
    [[nodiscard]] std::vector<std::uint32_t> languages() const;

private:
    void load_plugin(Frame& frame);
    [[nodiscard]] Frame* frame_of(HWND window) const;
    bool translate(MSG& message) const;
    void end_closed();

    Options options_;
    SettingsFile settings_;
    Recorder recorder_;
    std::unique_ptr<PluginLibrary> plugin_;
    std::vector<std::unique_ptr<Frame>> frames_;
    // Closed, but perhaps with functions of theirs still running.
    std::vector<std::unique_ptr<Frame>> closed_;
};

}  // namespace quorrel
