#include "host/CDemo.h"

#include "host/CPlaylistWriter.h"
#include "host/CSampleMedia.h"
#include "host/CSession.h"
#include "host/CSync.h"
#include "host/HostText.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>
#include <vector>

namespace {

struct Sample {
    const char* Path;
    std::wstring_view Title;
    std::wstring_view Artist;
    std::wstring_view Album;
    int Track;
    bool HasPicture; ///< inside the file
};

constexpr std::array kSamples{
    Sample{"Björk Ásdís/Ljósið/01 Dögun.mp3", L"Dögun", L"Björk Ásdís", L"Ljósið", 1, false},
    Sample{"Björk Ásdís/Ljósið/02 Kvöld.mp3", L"Kvöld", L"Björk Ásdís", L"Ljósið", 2, false},
    Sample{"山田 花子/春の歌/01 さくら.flac", L"さくら", L"山田 花子", L"春の歌", 1, true},
    Sample{"山田 花子/春の歌/02 川のほとり.flac", L"川のほとり", L"山田 花子", L"春の歌", 2, true},
    Sample{"The Paper Boats/Harbour: Live/01 Night Ferry.ogg", L"Night Ferry", L"The Paper Boats",
           L"Harbour: Live", 1, true},
    Sample{"The Paper Boats/Harbour: Live/02 Ships and Sails.ogg", L"Ships/Sails",
           L"The Paper Boats", L"Harbour: Live", 2, true},
    Sample{"Ольга Ветрова/Дорога/01 Поезд.m4a", L"Поезд", L"Ольга Ветрова", L"Дорога", 1, false},
    Sample{"Ольга Ветрова/Дорога/02 Станция №2.m4a", L"Станция №2", L"Ольга Ветрова", L"Дорога", 2,
           false},
    Sample{"Field Recordings/Rain.wav", L"Rain", L"Field Recordings", L"Weather", 1, false},
    Sample{"Field Recordings/Wind 🌬.wav", L"Wind 🌬", L"Field Recordings", L"Weather", 2,
           false},
};

std::string MakeMedia(const std::string& path) {
    if (path.ends_with(".mp3")) {
        return CSampleMedia::MakeMP3();
    }
    if (path.ends_with(".flac")) {
        return CSampleMedia::MakeFLAC();
    }
    if (path.ends_with(".ogg")) {
        return CSampleMedia::MakeOgg();
    }
    return path.ends_with(".m4a") ? CSampleMedia::MakeM4A() : CSampleMedia::MakeWAV();
}

/// Makes one sample file under another name first, so that a run that dies leaves none half made.
bool MakeSample(const std::string& path, const Sample& sample, std::string& error) {
    if (std::filesystem::exists(path)) {
        return true;
    }
    const std::string unfinished = HostNarrow(HostFolder(HostWiden(path))) + ".new."
                                   + HostNarrow(HostExtension(HostWiden(path)));
    if (!CPlaylistWriter::Save(unfinished, MakeMedia(path), error)) {
        return false;
    }
    CSampleMedia::CTags tags;
    tags.Title = sample.Title;
    tags.Artist = sample.Artist;
    tags.Album = sample.Album;
    tags.Genre = L"Sample";
    tags.Track = sample.Track;
    tags.Year = 2024;
    if (sample.HasPicture) {
        tags.Picture = CSampleMedia::MakePNG(0x3366AA);
    }
    if (!CSampleMedia::WriteTags(unfinished, tags)) {
        error = "its tags cannot be written";
        return false;
    }
    std::error_code failure;
    std::filesystem::rename(unfinished, path, failure);
    error = failure.message();
    return !failure;
}

bool SaveOnce(const std::string& path, std::string_view bytes, std::string& error) {
    return std::filesystem::exists(path) || CPlaylistWriter::Save(path, bytes, error);
}

std::string MakePlaylist(const std::vector<size_t>& samples) {
    std::string text = "#EXTM3U\n";
    for (const size_t index : samples) {
        text += std::string(kSamples.at(index).Path) + "\n";
    }
    return text;
}

} // namespace

bool CDemo::MakeLibrary(const std::string& folder) {
    const std::string base = folder + "/";
    std::string error;
    for (const Sample& sample : kSamples) {
        if (!MakeSample(base + sample.Path, sample, error)) {
            Console.Error(base + sample.Path + ": " + error);
            return false;
        }
    }
    const bool done =
        SaveOnce(base + "Björk Ásdís/Ljósið/cover.png", CSampleMedia::MakePNG(0xCC8833), error)
        && SaveOnce(base + "Ольга Ветрова/Дорога/Folder.jpg", CSampleMedia::MakeJPEG(), error)
        && SaveOnce(base + "Pictures/Grey.jpg", CSampleMedia::MakeJPEG(), error)
        && SaveOnce(base + "Evening.m3u8", MakePlaylist({1, 4, 7}), error)
        && SaveOnce(base + "Größte Hits.m3u", MakePlaylist({0, 2, 6, 8, 9}), error);
    if (!done) {
        Console.Error(base + ": " + error);
    }
    return done;
}

ExitCode CDemo::Run(const std::string& folder) {
    std::error_code failure;
    std::string base = folder.empty() ? CSession::GetDataFolder() + "demo" : folder;
    base = std::filesystem::absolute(base, failure).lexically_normal().native();
    const std::string library = base + "/library";
    const std::string device = base + "/device";
    std::filesystem::create_directories(device, failure);
    if (failure || !MakeLibrary(library)) {
        Console.Error("the demo needs a folder that it can write to: " + base);
        return kExitFailure;
    }
    CSyncOptions options;
    options.Libraries = {library};
    options.Device = device;
    options.Playlists = {library + "/Evening.m3u8", library + "/Größte Hits.m3u"};
    for (const char* title : {"First sync", "Second sync: nothing is sent twice"}) {
        Console.Write(std::string(title) + "\n  " + library + " -> " + device + "\n");
        CSync sync(options, Console);
        if (const ExitCode code = sync.Run(); code != kExitDone) {
            return code;
        }
        Console.Write("\n");
    }
    Console.Write("On the device\n");
    PrintTree(device);
    return kExitDone;
}

void CDemo::PrintTree(const std::string& folder) {
    const auto print = [this](const auto& self, const std::filesystem::path& path,
                              const std::string& indent) -> void {
        std::vector<std::filesystem::directory_entry> entries;
        std::error_code failure;
        for (std::filesystem::directory_iterator entry(path, failure), end;
             !failure && entry != end; entry.increment(failure)) {
            entries.push_back(*entry);
        }
        std::sort(entries.begin(), entries.end());
        for (const std::filesystem::directory_entry& entry : entries) {
            const bool isFolder = entry.is_directory(failure) && !entry.is_symlink(failure);
            const std::string name =
                HostPrintable(std::string_view(entry.path().filename().native()));
            Console.Write(
                indent + name
                + (isFolder
                       ? "/"
                       : "  " + HostFormatBytes(static_cast<int64_t>(entry.file_size(failure))))
                + "\n");
            if (isFolder) {
                self(self, entry.path(), indent + "  ");
            }
        }
    };
    print(print, folder, "  ");
}
