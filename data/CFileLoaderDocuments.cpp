#include "data/CFileLoader.h"

#include "files/VnFilename.h"
#include "text/CHTMLTree.h"
#include "text/CParseJSON.h"

bool CFileLoader::LoadToJSON(const VnFilename& source, CParseJSON& document, int32_t encoding) {
    VnString text;
    if (LoadToString(source, text, encoding)) {
        return document.Parse(text);
    }
    document.Clear();
    return false;
}

bool CFileLoader::LoadToHTML(const VnFilename& source, CHTMLTree& tree, int32_t encoding) {
    VnString text;
    if (LoadToString(source, text, encoding)) {
        return tree.Parse(text);
    }
    tree.Clear();
    return false;
}
