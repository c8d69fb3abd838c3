// SPDX-License-Identifier: MIT
#include "world/view/live_view.h"

#include "core/geo.h"
#include "world/view/live_page_text.h"
#include "world/view/live_state.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <httplib.h>
#include <mutex>
#include <thread>

namespace kes::world {

namespace {

constexpr auto period = std::chrono::milliseconds(200);
constexpr std::size_t mostWatchers = 16;
/// Of a log, at a time: a long run's log is read in pieces, so that the first message is not kept waiting.
constexpr std::size_t logPiece = 1 << 20;

nlohmann::json standList(const std::vector<Stand>& stands) {
    nlohmann::json list = nlohmann::json::array();
    for (const Stand& stand : stands)
        list.push_back({{"id", stand.id},
                        {"lat", stand.lat},
                        {"lon", stand.lon},
                        {"radius", stand.radius * metresPerNm},
                        {"heading", stand.heading}});
    return list;
}

std::string written(const nlohmann::json& value) {
    return value.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

/// No text in it may look like the end of the script.
std::string inScript(const nlohmann::json& value) {
    std::string text = written(value);
    for (std::size_t at = text.find("</"); at != std::string::npos; at = text.find("</", at))
        text.replace(at, 2, "<\\/");
    return text;
}

/// New whole lines of a file that another process writes.
class LogTail {
public:
    explicit LogTail(std::filesystem::path file) : path_(std::move(file)) {}

    template <typename Take> void read(Take take) {
        // The program makes it later than the first watcher may come.
        if (!file_.is_open() && !path_.empty())
            file_.open(path_, std::ios::binary);
        if (!file_.is_open())
            return;
        std::string piece(logPiece, '\0');
        file_.clear(); // the end that was met last time is none any more
        file_.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        rest_.append(piece, 0, static_cast<std::size_t>(file_.gcount()));
        std::size_t begin = 0;
        for (std::size_t end = rest_.find('\n'); end != std::string::npos; end = rest_.find('\n', begin)) {
            take(std::string_view(rest_).substr(begin, end - begin));
            begin = end + 1;
        }
        rest_.erase(0, begin);
    }

private:
    std::filesystem::path path_;
    std::ifstream file_;
    std::string rest_;
};

} // namespace

struct LiveView::State {
    explicit State(Server& s) : server(s) {}

    Server& server;
    LiveViewOptions options;
    httplib::Server http;
    int port = 0;
    std::thread thread;
    std::mutex mutex; ///< guards the one below, for the waits
    bool stopping = false;
    std::condition_variable wake;

    /// False once the page is to end.
    bool pause() {
        std::unique_lock lock(mutex);
        return !wake.wait_for(lock, period, [this] { return stopping; });
    }

    void sendPage(httplib::Response& response) const {
        const nlohmann::json data{{"place", options.place}, {"stands", standList(options.stands)}};
        response.set_content(std::string(livePageHead) + inScript(data) + std::string(livePageTail),
                             "text/html; charset=utf-8");
    }

    /// One watcher, on a thread of the pool, until he or the page goes.
    void sendEvents(httplib::Response& response) {
        response.set_header("Cache-Control", "no-store");
        response.set_chunked_content_provider("text/event-stream", [this](std::size_t, httplib::DataSink& sink) {
            LiveState state;
            LogTail log(options.program);
            do {
                nlohmann::json message;
                server.look([&](const Simulator& simulator) { message = state.update(simulator); });
                log.read([&](std::string_view line) {
                    if (const LiveryReason reason = liveryReason(line); reason.step != 0)
                        message["why"].push_back(
                            {{"label", reason.label}, {"title", reason.title}, {"step", reason.step}});
                });
                const std::string text = "data: " + written(message) + "\n\n";
                if (!sink.write(text.data(), text.size()))
                    return false;
            } while (pause());
            sink.done();
            return true;
        });
    }
};

LiveView::LiveView(Server& server) : state_(std::make_unique<State>(server)) {}

LiveView::~LiveView() {
    stop();
}

bool LiveView::start(const LiveViewOptions& options, std::string& error) {
    State& state = *state_;
    state.options = options;
    state.http.set_socket_options([](socket_t) {}); // the usual ones let two servers have one port
    state.http.set_keep_alive_max_count(1);         // an idle connection would hold up the end
    // A page of the net that has its name point here must not read what is shown.
    state.http.set_pre_routing_handler([&state](const httplib::Request& request, httplib::Response& response) {
        const std::string host = request.get_header_value("Host");
        const std::string port = ":" + std::to_string(state.port);
        if (host == "127.0.0.1" + port || host == "localhost" + port)
            return httplib::Server::HandlerResponse::Unhandled;
        response.status = 403;
        return httplib::Server::HandlerResponse::Handled;
    });
    state.http.new_task_queue = [] { return new httplib::ThreadPool(mostWatchers); };
    state.http.Get("/", [&state](const httplib::Request&, httplib::Response& response) { state.sendPage(response); });
    state.http.Get("/events",
                   [&state](const httplib::Request&, httplib::Response& response) { state.sendEvents(response); });
    const char* const here = "127.0.0.1";
    state.port = options.port == 0 ? state.http.bind_to_any_port(here)
                                   : (state.http.bind_to_port(here, options.port) ? int{options.port} : -1);
    if (state.port <= 0) {
        state.port = 0;
        error = "port " + std::to_string(options.port) + " of the live page cannot be had";
        return false;
    }
    state.thread = std::thread([&state] { state.http.listen_after_bind(); });
    return true;
}

std::uint16_t LiveView::port() const {
    return static_cast<std::uint16_t>(state_->port);
}

void LiveView::stop() {
    State& state = *state_;
    {
        const std::lock_guard lock(state.mutex);
        state.stopping = true;
    }
    state.wake.notify_all();
    if (!state.thread.joinable())
        return;
    while (!state.http.is_running()) // a stop before it listens would be lost
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    state.http.stop();
    state.thread.join();
}

} // namespace kes::world
