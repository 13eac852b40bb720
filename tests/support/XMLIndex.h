#pragma once

#include "tests/support/TestText.h"
#include "text/VnXMLDocument.h"

#include <string>

/// Reads the index of a document for the tests.
class VnXMLDocumentTestAccess {
public:
    /// One line per element in document order: level, start, length, lengths of its tags, flags,
    /// tag name. With `withFlags` off only the form that does not depend on how the index came
    /// about.
    static std::string Describe(const VnXMLDocument& document, bool withFlags = true) {
        std::string lines = "text " + std::to_string(document.Record(0).Length) + "\n";
        for (int32_t at = document.Record(0).FirstChild; at != 0;
             at = document.GetNextInDocument(at, true)) {
            const VnXMLDocument::CRecord& record = document.Record(at);
            lines += std::to_string(record.LevelAndFlags & 0xFFFFU) + " "
                     + std::to_string(record.Start) + "+" + std::to_string(record.Length) + " "
                     + std::to_string(record.TagLengths & 0x2FFFFFU) + "/"
                     + std::to_string(record.TagLengths >> 22U) + " "
                     + ToBytes(document.GetTagName(at));
            if (withFlags && (record.LevelAndFlags & 0x100000U) != 0) {
                lines += " unended";
            }
            if (withFlags && (record.LevelAndFlags & 0x200000U) != 0) {
                lines += " bad";
            }
            lines += "\n";
        }
        return lines;
    }

    /// What is wrong with the links of the records; empty when they are sound.
    static std::string Damage(const VnXMLDocument& document) {
        int32_t linked = 1;
        for (int32_t at = 0; at != 0 || linked == 1;) {
            const std::string damage = ChildDamage(document, at, linked);
            if (!damage.empty()) {
                return damage;
            }
            at = document.GetNextInDocument(at, true);
            if (at == 0) {
                break;
            }
        }
        int32_t free = 0;
        for (int32_t at = document.FreeChain; at != 0; at = document.Record(at).NextSibling) {
            if ((document.Record(at).LevelAndFlags & 0x20000U) == 0) {
                return "record " + std::to_string(at) + " of the free chain is not marked";
            }
            ++free;
        }
        if (linked + free != document.NextFree) {
            return std::to_string(linked) + " linked and " + std::to_string(free)
                   + " free records of " + std::to_string(document.NextFree);
        }
        return "";
    }

    static int32_t Capacity(const VnXMLDocument& document) { return document.RecordCapacity; }
    static int32_t SegmentCapacity(const VnXMLDocument& document) {
        return document.SegmentCapacity;
    }
    static int32_t UsedRecords(const VnXMLDocument& document) { return document.NextFree; }
    static const void* RecordAddress(const VnXMLDocument& document, int32_t index) {
        return &document.Record(index);
    }
    static void Reserve(VnXMLDocument& document, int32_t count) { document.ReserveRecords(count); }

private:
    static std::string ChildDamage(const VnXMLDocument& document, int32_t parent, int32_t& linked) {
        const int32_t first = document.Record(parent).FirstChild;
        int32_t previous = 0;
        for (int32_t at = first; at != 0; at = document.Record(at).NextSibling) {
            const VnXMLDocument::CRecord& record = document.Record(at);
            ++linked;
            const std::string name = "record " + std::to_string(at);
            if (record.Parent != parent) {
                return name + " has the wrong parent";
            }
            if ((record.LevelAndFlags & 0x20000U) != 0) {
                return name + " is free and linked";
            }
            if (((record.LevelAndFlags & 0x80000U) != 0) != (at == first)) {
                return name + " is wrong about being the first child";
            }
            if (at != first && record.PreviousSibling != previous) {
                return name + " has the wrong previous sibling";
            }
            previous = at;
        }
        if (first != 0 && document.Record(first).PreviousSibling != previous) {
            return "record " + std::to_string(first) + " does not know the last child";
        }
        return "";
    }
};
