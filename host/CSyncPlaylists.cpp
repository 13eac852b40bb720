#include "host/CSync.h"

#include "host/CLibraryItem.h"
#include "host/HostText.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

constexpr int kPLAFormat = 6;

int ToSeconds(const std::wstring& duration) {
    int64_t seconds = 0;
    for (const wchar_t ch : duration) {
        if (ch < L'0' || ch > L'9' || seconds > 10000000) {
            break;
        }
        seconds = seconds * 10 + (ch - L'0');
    }
    return duration.empty() ? -1 : static_cast<int>(seconds);
}

} // namespace

void CSync::SendPlaylists() {
    for (const CPlaylist& playlist : Playlists) {
        SendPlaylist(playlist);
    }
    if (Options.Delete != DeleteMode::None) {
        DeleteLostPlaylists();
    }
}

void CSync::SendPlaylist(const CPlaylist& playlist) {
    CDeviceProperties& properties = Session.GetProperties();
    if (properties.GetBasePath(L"PlaylistBasePath").empty()) {
        AddSkipped(playlist.Source, "the device takes no playlists");
        return;
    }
    const CTargetPaths::CTarget target =
        Paths->ChoosePlaylist(HostStem(HostWiden(playlist.Source)), [&](const std::wstring& path) {
            const CDeviceRecord::CEntry* record =
                FindRecord(CDeviceRecord::Kind::Playlist, HostNarrow(path));
            return record != nullptr && record->Source == playlist.Source;
        });
    const std::string path = HostNarrow(target.GetPath());
    if (!Session.GetRoot().IsInside(path)) {
        AddFailure(playlist.Source,
                   "its place on the device, " + Relative(path) + ", leads outside the device");
        return;
    }
    // With one of these the drive changes every line of the list: it wants bare paths from the
    // device's root.
    const bool isRewritten = !properties.Get(L"PlaylistPathRoot").empty()
                             || !properties.Get(L"PlaylistPathToken").empty()
                             || properties.GetInt(L"PlaylistFormat") == kPLAFormat;
    const std::string text =
        CPlaylistWriter::Render(target.Extension, MakeEntries(playlist, !isRewritten),
                                {HostStem(HostWiden(playlist.Source)), !isRewritten});
    const std::string written = HostNarrow(properties.Get(L"PlaylistPathRoot") + L"\x1F"
                                           + properties.Get(L"PlaylistPathToken"))
                                + "\x1F" + text;
    const CDeviceRecord::CEntry* known = FindRecord(CDeviceRecord::Kind::Playlist, path);
    if (known != nullptr && known->ChangeKey == written && CDeviceRoot::GetFileSize(path) >= 0) {
        ++Report.PlaylistsKept;
        return;
    }
    CHandheldList list;
    std::string error = "could not be written";
    list.Writer = [&](const std::wstring& where) {
        return CPlaylistWriter::Save(HostNarrow(where), text, error);
    };
    BeginSync();
    if (!Session.GetDevice().SendPlaylist(target.Name, list)) {
        AddFailure(playlist.Source, error);
        return;
    }
    if (!Record.Put({CDeviceRecord::Kind::Playlist,
                     path,
                     playlist.Source,
                     CDeviceRoot::GetFileSize(path),
                     0,
                     {},
                     written})) {
        RecordFailed();
    }
    Report.PlaylistsSent.push_back(Relative(path));
}

std::vector<CPlaylistWriter::CEntry> CSync::MakeEntries(const CPlaylist& playlist,
                                                        bool relative) const {
    const std::filesystem::path folder =
        HostNarrow(Session.GetProperties().GetBasePath(L"PlaylistBasePath"));
    std::vector<CPlaylistWriter::CEntry> entries;
    for (const CLibraryItem* item : playlist.Items) {
        const auto place = OnDevice.find(item);
        if (place == OnDevice.end()) {
            continue; // it failed, and was named then
        }
        const std::string path =
            relative ? std::filesystem::path(place->second).lexically_relative(folder).native()
                     : "/" + Relative(place->second);
        entries.push_back({HostWiden(path), item->Fields.Get(L"Artist"), item->Fields.Get(L"Name"),
                           ToSeconds(item->Fields.Get(L"Duration"))});
    }
    return entries;
}

void CSync::DeleteLostPlaylists() {
    std::vector<std::string> lost;
    for (const CDeviceRecord::CEntry& entry : Input.Records) {
        const bool isSent =
            std::any_of(Playlists.begin(), Playlists.end(), [&entry](const CPlaylist& playlist) {
                return playlist.Source == entry.Source;
            });
        std::error_code failure;
        if (entry.Type == CDeviceRecord::Kind::Playlist && !isSent
            && !std::filesystem::exists(entry.Source, failure)) {
            const int64_t size = CDeviceRoot::GetFileSize(entry.Target);
            if (size >= 0 && size != entry.Size) {
                Report.Leftovers.push_back(Relative(entry.Target)); // somebody else's by now
            } else if (MayDelete(entry.Target)) {
                lost.push_back(entry.Target);
            }
        }
    }
    if (lost.empty()) {
        return;
    }
    BeginSync();
    Session.GetDevice().Delete(lost);
    std::vector<std::string> gone;
    for (const std::string& path : lost) {
        if (IsGone(path)) {
            gone.push_back(path);
            Report.Deleted.push_back(Relative(path));
        } else {
            AddFailure(path, "could not be deleted");
        }
    }
    if (!Record.Remove(gone)) {
        RecordFailed();
    }
}

const CDeviceRecord::CEntry* CSync::FindRecord(CDeviceRecord::Kind kind,
                                               const std::string& target) const {
    const auto found = RecordsByTarget.find(target);
    return found == RecordsByTarget.end() || found->second->Type != kind ? nullptr : found->second;
}
