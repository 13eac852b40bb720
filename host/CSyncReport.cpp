#include "host/CSyncReport.h"

#include "host/HostText.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>

namespace {

std::string Line(const char* title, size_t count, const std::string& rest = {}) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%-10s %6zu", title, count);
    return text.data() + (rest.empty() ? rest : "  " + rest) + "\n";
}

nlohmann::json NamedList(const std::vector<CSyncReport::CNamed>& list) {
    nlohmann::json out = nlohmann::json::array();
    for (const CSyncReport::CNamed& named : list) {
        out.push_back({{"path", named.Path}, {"reason", named.Reason}});
    }
    return out;
}

} // namespace

std::string CSyncReport::ToText(bool withNames) const {
    std::string out;
    if (withNames) {
        for (const std::string& path : Deleted) {
            out += "delete  " + HostPrintable(std::string_view(path)) + "\n";
        }
        for (const CSent& file : Sent) {
            out += (file.IsReplaced ? "resend  " : "send    ")
                   + HostPrintable(std::string_view(file.Target)) + "\n";
        }
        for (const std::string& path : PlaylistsSent) {
            out += "list    " + HostPrintable(std::string_view(path)) + "\n";
        }
    }
    if (IsDryRun) {
        out += "Dry run: nothing on the device was changed.\n";
    }
    out += Line("Sent", Sent.size(), HostFormatBytes(Bytes));
    out += Line("Kept", Kept);
    out += Line("Deleted", Deleted.size());
    out += Line("Skipped", Skipped.size());
    out += Line("Failed", Failed.size());
    out += Line("Playlists", PlaylistsSent.size() + PlaylistsKept,
                std::to_string(PlaylistsSent.size()) + " written");
    if (!Leftovers.empty()) {
        out +=
            Line("Left over", Leftovers.size(), "no longer in the library; --delete removes them");
    }
    std::array<char, 64> time{};
    std::snprintf(time.data(), time.size(), "%-10s %6.1f s\n", "Time", Seconds);
    return out + time.data();
}

std::string CSyncReport::ToJSON() const {
    nlohmann::json sent = nlohmann::json::array();
    for (const CSent& file : Sent) {
        sent.push_back({{"source", file.Source},
                        {"target", file.Target},
                        {"bytes", file.Bytes},
                        {"replaced", file.IsReplaced}});
    }
    nlohmann::json out = {{"command", "sync"},
                          {"device", Device},
                          {"dryRun", IsDryRun},
                          {"sent", sent},
                          {"kept", Kept},
                          {"deleted", Deleted},
                          {"leftOver", Leftovers},
                          {"skipped", NamedList(Skipped)},
                          {"failed", NamedList(Failed)},
                          {"playlists", {{"sent", PlaylistsSent}, {"kept", PlaylistsKept}}},
                          {"bytes", Bytes},
                          {"seconds", Seconds},
                          {"space", {{"total", TotalSpace}, {"available", AvailableSpace}}},
                          {"exitCode", static_cast<int>(Code)}};
    if (!Error.empty()) {
        out["error"] = Error;
    }
    // A name that is no UTF-8 has no form in JSON; its odd bytes become U+FFFD.
    return out.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}
