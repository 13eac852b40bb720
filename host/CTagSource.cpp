#include "host/CTagSource.h"

#include "core/VnDllString.h"
#include "core/VnString.h"
#include "host/HostText.h"
#include "runtime/IVnTagReader.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <vector>

namespace {

constexpr std::wstring_view kFieldList =
    L"Filename|Name|Artist|Album|Album Artist|Genre|Composer|Track #|Disc #|Date|Rating|Duration|Bitrate|"
    L"File Type|File Size|Media Type";

} // namespace

CTagSource::CTagSource() = default;
CTagSource::~CTagSource() = default;

std::wstring_view CTagSource::GetFieldList() {
    return kFieldList;
}

bool CTagSource::IsAvailable() {
    if (!Asked) {
        Asked = true;
        if (IVnToolsRoot* tools = VnGetToolsRoot(); tools != nullptr) {
            Reader.reset(tools->CreateTagReader());
        }
        if (Reader != nullptr) {
            Reader->SetReadMode(IVnTagReader::kMediaFile);
            Reader->SetFieldMode(1);
            Reader->SetListMode(IVnTagReader::kMediaFile);
        }
    }
    return Reader != nullptr;
}

bool CTagSource::Read(const std::string& path, CMediaFields& fields) {
    if (!IsAvailable()) {
        return false;
    }
    Reader->SetFile(HostWiden(path).c_str());
    IVnTagReaderItem* item = Reader->GetItem(0);
    if (item == nullptr) {
        return false;
    }
    static const std::vector<std::wstring> names = HostSplit(kFieldList, L'|');
    for (const std::wstring& name : names) {
        VnString value;
        VnDllString adapter(value);
        if (item->GetField(name.c_str(), adapter)) {
            fields.Set(name, HostText(value));
        }
    }
    return true;
}
