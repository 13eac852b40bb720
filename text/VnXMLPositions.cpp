#include "text/VnXMLDocument.h"
#include "text/VnXMLSavedPositions.h"

#include <algorithm>

std::unique_ptr<VnXMLDocument::CSavedPositions> VnXMLDocument::CSavedPositions::Clone() const {
    auto copy = std::make_unique<CSavedPositions>();
    for (int32_t bucket = 0; bucket < kBuckets; ++bucket) {
        const CSavedPosition* const source = Buckets[bucket].get();
        const int32_t size = GetSize(source);
        if (size > 0) {
            copy->Buckets[bucket] = std::make_unique<CSavedPosition[]>(static_cast<size_t>(size));
            std::copy_n(source, size, copy->Buckets[bucket].get());
        }
    }
    return copy;
}

int32_t VnXMLDocument::CSavedPositions::GetBucket(const wchar_t* name) {
    uint32_t sum = 0;
    for (; *name != 0; ++name) {
        sum += static_cast<uint32_t>(*name);
    }
    return static_cast<int32_t>(sum % kBuckets);
}

int32_t VnXMLDocument::CSavedPositions::GetSize(const CSavedPosition* bucket) {
    if (bucket == nullptr) {
        return 0;
    }
    int32_t last = 0;
    while ((bucket[last].Flags & CSavedPosition::kLast) == 0) {
        ++last;
    }
    return last + 1;
}

VnXMLDocument::CSavedPosition* VnXMLDocument::CSavedPositions::Find(const wchar_t* name) {
    CSavedPosition* const bucket = Buckets[GetBucket(name)].get();
    const int32_t size = GetSize(bucket);
    for (int32_t entry = 0; entry < size; ++entry) {
        if ((bucket[entry].Flags & CSavedPosition::kInUse) != 0 && bucket[entry].Name == name) {
            return &bucket[entry];
        }
    }
    return nullptr;
}

VnXMLDocument::CSavedPosition& VnXMLDocument::CSavedPositions::Make(const wchar_t* name) {
    if (CSavedPosition* const known = Find(name)) {
        return *known;
    }
    std::unique_ptr<CSavedPosition[]>& bucket = Buckets[GetBucket(name)];
    const int32_t size = GetSize(bucket.get());
    for (int32_t entry = 0; entry < size; ++entry) {
        if ((bucket[entry].Flags & CSavedPosition::kInUse) == 0) {
            return bucket[entry];
        }
    }
    const int32_t larger = size == 0 ? 2 : 2 * (size - 1) + 12;
    auto entries = std::make_unique<CSavedPosition[]>(static_cast<size_t>(larger));
    std::move(bucket.get(), bucket.get() + size, entries.get());
    if (size > 0) {
        entries[size - 1].Flags &= ~uint32_t{CSavedPosition::kLast};
    }
    entries[larger - 1].Flags = CSavedPosition::kLast;
    bucket = std::move(entries);
    return bucket[size];
}

bool VnXMLDocument::SavePosition(const wchar_t* name) {
    if (SavedPositions == nullptr) {
        SavedPositions = std::make_unique<CSavedPositions>();
    }
    const wchar_t* const text = name == nullptr ? L"" : name;
    CSavedPosition& entry = SavedPositions->Make(text);
    entry.Name = text;
    entry.Flags = (entry.Flags & CSavedPosition::kLast) | CSavedPosition::kInUse;
    if (ChildPosition != 0) {
        entry.Index = ChildPosition;
        entry.Flags |= CSavedPosition::kChild;
    } else if (MainPosition != 0) {
        entry.Index = MainPosition;
        entry.Flags |= CSavedPosition::kMain;
    } else {
        entry.Index = ParentPosition;
    }
    return true;
}

bool VnXMLDocument::RestorePosition(const wchar_t* name) {
    if (SavedPositions == nullptr) {
        return false;
    }
    const CSavedPosition* const entry = SavedPositions->Find(name == nullptr ? L"" : name);
    if (entry == nullptr) {
        return false;
    }
    const int32_t parent = Record(entry->Index).Parent;
    if ((entry->Flags & CSavedPosition::kChild) != 0) {
        SetPosition(Record(parent).Parent, parent, entry->Index);
    } else if ((entry->Flags & CSavedPosition::kMain) != 0) {
        SetPosition(parent, entry->Index, 0);
    } else {
        SetPosition(entry->Index, 0, 0);
    }
    return true;
}

/// Drops the saved positions whose element was just removed, before its record is used again.
void VnXMLDocument::DropRemovedPositions() {
    if (SavedPositions == nullptr) {
        return;
    }
    for (const std::unique_ptr<CSavedPosition[]>& bucket : SavedPositions->Buckets) {
        const int32_t size = CSavedPositions::GetSize(bucket.get());
        for (int32_t entry = 0; entry < size; ++entry) {
            CSavedPosition& saved = bucket[entry];
            if ((saved.Flags & CSavedPosition::kInUse) != 0
                && Record(saved.Index).Has(kRecordFree)) {
                saved.Name.Empty();
                saved.Flags &= CSavedPosition::kLast;
            }
        }
    }
}
