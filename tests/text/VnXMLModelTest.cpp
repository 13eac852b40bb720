#include "tests/support/XMLIndex.h"
#include "text/VnXMLDocument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace {

using Access = VnXMLDocumentTestAccess;

/// Makes random changes at random places of a document.
class RandomEditor {
public:
    explicit RandomEditor(uint32_t seed) : Random(seed) {}

    /// Moves the cursor somewhere and changes something there; the text tells what was done.
    std::string Step(VnXMLDocument& document) {
        Walk(document);
        const int32_t target =
            Pick(2) == 0 ? document.GetMainPosition() : document.GetChildPosition();
        switch (Pick(16)) {
        case 0:
        case 1:
        case 2:
            return Note("element", document.AddElement(PickName(), PickValue(), PickOptions()));
        case 3:
            return Note("sub document", document.AddSubDocument(PickFragment(), PickOptions()));
        case 4:
            return Note("remove", document.RemoveElement());
        case 5:
            return Note("remove child", document.RemoveChildElement());
        case 6:
            return Note("remove node", document.RemoveNode());
        case 7:
            return Note("content", document.SetElementContent(PickFragment()));
        case 8:
        case 9:
            return Note("attribute", document.SetAttribute(target, PickAttribute(), PickValue()));
        case 10:
            return Note("remove attribute", document.RemoveAttribute(target, PickAttribute()));
        case 11:
            return Note("data", document.SetData(target, PickValue(), PickOptions() & 0x101U));
        case 12:
            document.SavePosition(PickName());
            return "save";
        case 13:
            return Note("restore", document.RestorePosition(PickName()));
        default: {
            constexpr int32_t kTypes[] = {1, 2, 4, 8, 16, 32};
            const int32_t type = kTypes[Pick(6)];
            const wchar_t* const text = type == 4                 ? L" \r\n "
                                        : type == 1 || type == 16 ? L"n a='1'"
                                                                  : L"node";
            return Note("node " + std::to_string(type),
                        document.AddNode(type, text, PickOptions()));
        }
        }
    }

private:
    void Walk(VnXMLDocument& document) {
        using Move = void (*)(RandomEditor&, VnXMLDocument&);
        constexpr Move kMoves[] = {
            [](RandomEditor&, VnXMLDocument& d) { d.ResetPosition(); },
            [](RandomEditor&, VnXMLDocument& d) { d.FindElement(L"//*"); },
            [](RandomEditor& e, VnXMLDocument& d) {
                d.FindChildElement(e.Pick(2) == 0 ? nullptr : e.PickName(), e.Pick(2) == 0);
            },
            [](RandomEditor&, VnXMLDocument& d) { d.FindPreviousElement(); },
            [](RandomEditor&, VnXMLDocument& d) { d.IntoElement(); },
            [](RandomEditor&, VnXMLDocument& d) { d.OutOfElement(); },
            [](RandomEditor& e, VnXMLDocument& d) { d.FindElement(e.PickName()); },
            [](RandomEditor& e, VnXMLDocument& d) { d.FindNode(e.Pick(3) == 0 ? 0x7FFE : 0); },
        };
        for (uint32_t steps = Pick(6); steps > 0; --steps) {
            // Twice as often from node to node.
            kMoves[std::min(Pick(9), 7U)](*this, document);
        }
    }

    uint32_t Pick(uint32_t count) { return static_cast<uint32_t>(Random()) % count; }

    uint32_t PickOptions() {
        constexpr uint32_t kOptions[] = {1, 2, 4, 0x100, 0x2000, 0x4000};
        uint32_t options = 0;
        for (const uint32_t option : kOptions) {
            options |= Pick(3) == 0 ? option : 0;
        }
        return Pick(25) == 0 ? options | 0x1000U : options;
    }
    const wchar_t* PickName() {
        constexpr const wchar_t* kNames[] = {L"a", L"b", L"long.name", L"c"};
        return kNames[Pick(4)];
    }
    const wchar_t* PickAttribute() {
        constexpr const wchar_t* kNames[] = {L"x", L"Y", L"other"};
        return kNames[Pick(3)];
    }
    const wchar_t* PickValue() {
        constexpr const wchar_t* kValues[] = {nullptr,    L"",    L"v",   L"a<b>&\"c'",
                                              L" blank ", L"]]>", L"\r\n"};
        return kValues[Pick(7)];
    }
    VnString PickFragment() {
        constexpr const wchar_t* kFragments[] = {
            L"<f/>",
            L"<f><g h='i'>t</g>\r\n<g/></f>",
            L"<!-- c --><f ></f><k/>",
            L"<f a=b/>",
        };
        return kFragments[Pick(4)];
    }
    static std::string Note(const std::string& what, bool result) {
        return what + (result ? " done" : " refused");
    }

    std::mt19937 Random;
};

} // namespace

// After every change the index must be the one that a fresh parse of the text makes.
TEST(VnXMLModel, RandomEditsKeepTheIndexThatAParseWouldMake) {
    constexpr uint32_t kSeeds = 40;
    constexpr int kSteps = 250;
    int compared = 0;
    for (uint32_t seed = 1; seed <= kSeeds; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomEditor editor(seed);
        VnXMLDocument document;
        document.AddElement(L"root");
        document.IntoElement();
        for (int step = 0; step < kSteps; ++step) {
            const std::string before = ToBytes(document.GetText());
            const std::string done = editor.Step(document);
            ASSERT_EQ(Access::Damage(document), "") << done;
            VnXMLDocument fresh;
            fresh.SetDocument(document.GetText());
            const VnXMLDocument copy(document);
            ASSERT_EQ(Access::Describe(copy), Access::Describe(document));
            const VnString error = fresh.GetError();
            if (error.IsEmpty() || error == L"Root element has sibling"
                || error == L"Empty document" || error == L"No root element") {
                ++compared;
                ASSERT_EQ(Access::Describe(document), Access::Describe(fresh))
                    << done << " in\n"
                    << before << "\ngave\n"
                    << ToBytes(document.GetText());
            }
        }
    }
    EXPECT_GT(compared, static_cast<int>(kSeeds) * kSteps * 9 / 10);
}
