#include "editor/editor.h"

#include "editor/frame.h"
#include "editor/resources/ids.h"
#include "editor/ui.h"
#include "plugin/host/messages.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <system_error>
#include <utility>

namespace quorrel {

namespace {

constexpr wchar_t LANGUAGE_SETTING[] = L"Language";
constexpr std::uint32_t ENGLISH = 1033;

}  // namespace

Editor::Editor(Options options)
    : options_(std::move(options)), settings_(options_.settings), recorder_(options_.record)
{
}

Editor::~Editor()
{
    while (!frames_.empty())
        close_frame(*frames_.back());
    end_closed();
}

void Editor::start()
{
    Frame& frame = open_frame();
    for (const std::filesystem::path& file : options_.files)
        frame.documents().open(file, false);
    if (frame.documents().labels().empty())
        frame.documents().open_new();
    frame.documents().focus();
    if (plugin_ && options_.open_panel && !plugin_->status(frame.view()).checked)
        frame.execute(QUORREL_PLUGIN_COMMAND);
}

void Editor::run()
{
    MSG message{};
    while (!frames_.empty() && GetMessageW(&message, nullptr, 0, 0) > 0)
        dispatch(message);
}

void Editor::dispatch(MSG& message)
{
    if (!translate(message)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    end_closed();
    MSG next{};
    if (!PeekMessageW(&next, nullptr, 0, 0, PM_NOREMOVE)) {
        for (const auto& frame : frames_)
            frame->update();
    }
}

bool Editor::translate(MSG& message) const
{
    if (message.message < WM_KEYFIRST || message.message > WM_KEYLAST)
        return false;
    const Frame* frame = frame_of(message.hwnd);
    if (frame == nullptr)
        return false;
    // A shortcut of the editor counts in the frame and its bars, not in a window of the plug-in's.
    if (GetAncestor(message.hwnd, GA_ROOT) == frame->window() &&
        TranslateAcceleratorW(frame->window(), frame->accelerators(), &message))
        return true;
    return plugin_ && plugin_->query(frame->view(), host::QUERY_PRE_TRANSLATE, 0,
                                     reinterpret_cast<LPARAM>(&message)) != 0;
}

Frame* Editor::frame_of(HWND window) const
{
    const HWND root = GetAncestor(window, GA_ROOTOWNER);
    const auto found = std::find_if(frames_.begin(), frames_.end(),
                                    [root](const auto& frame) { return frame->window() == root; });
    return found != frames_.end() ? found->get() : nullptr;
}

Frame& Editor::open_frame()
{
    Frame& frame = *frames_.emplace_back(std::make_unique<Frame>(*this));
    if (frames_.size() == 1)
        load_plugin(frame);
    if (plugin_) {
        plugin_->announce(frame.view(), host::EVENT_FRAME_CREATED, 0);
        frame.show_plugin();
    }
    return frame;
}

void Editor::load_plugin(Frame& frame)
{
    if (options_.plugin.empty() || plugin_)
        return;
    auto loaded = PluginLibrary::load(full_path(options_.plugin));
    if (!loaded) {
        show_message(frame.window(), loaded.error());
        return;
    }
    plugin_ = std::move(*loaded);
    plugin_->announce(frame.view(), host::EVENT_LOADED, 0);
}

void Editor::close_frame(Frame& frame)
{
    const auto found = std::find_if(frames_.begin(), frames_.end(),
                                    [&frame](const auto& each) { return each.get() == &frame; });
    if (found == frames_.end())
        return;
    closed_.push_back(std::move(*found));
    frames_.erase(found);
    frame.leave_screen();
    frame.close_bars();
    if (plugin_)
        plugin_->announce(frame.view(), host::EVENT_FRAME_CLOSED, 0);
    frame.end_window();
}

void Editor::close_all()
{
    // Asking runs messages, which may open or close frames: each round takes the frames as they are.
    while (!frames_.empty()) {
        Frame& frame = *frames_.front();
        if (!frame.documents().may_close())
            return;
        close_frame(frame);
    }
}

void Editor::end_closed()
{
    closed_.clear();
    if (!frames_.empty() || !plugin_)
        return;
    plugin_->announce(nullptr, host::EVENT_UNLOADING, 0);
    plugin_.reset();
}

std::filesystem::path Editor::language_folder() const
{
    std::array<wchar_t, MAX_PATH> file{};
    GetModuleFileNameW(program(), file.data(), static_cast<DWORD>(file.size()));
    return std::filesystem::path(file.data()).parent_path() / L"mui" /
           std::to_wstring(settings_.number(EDITOR_SECTION, LANGUAGE_SETTING, ENGLISH));
}

void Editor::set_language(std::uint32_t language)
{
    settings_.set(EDITOR_SECTION, LANGUAGE_SETTING, language);
    // The texts are the plug-in's as a whole: it loads them again once, for the first frame.
    LPARAM reload = 1;
    for (const auto& frame : frames_) {
        frame->announce(host::EVENT_LANGUAGE_CHANGED, std::exchange(reload, 0));
        frame->show_plugin();
    }
}

std::vector<std::uint32_t> Editor::languages() const
{
    std::vector<std::uint32_t> languages;
    std::error_code failed;
    const auto folder = (plugin_ ? plugin_->path() : options_.plugin).parent_path() / L"mui";
    for (const auto& entry : std::filesystem::directory_iterator(folder, failed)) {
        const std::uint32_t language = std::wcstoul(entry.path().filename().c_str(), nullptr, 10);
        if (language != 0)
            languages.push_back(language);
    }
    return languages;
}

}  // namespace quorrel
