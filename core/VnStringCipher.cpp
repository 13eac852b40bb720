#include "core/VnString.h"

#include "core/VnBuffer.h"

#include <limits>

namespace {

/// Decrypts the contents and reads them as text; false, and an empty text, when nothing comes out.
bool ReadDecrypted(VnString& text,
                   VnBuffer& buffer,
                   const VnString& password,
                   int32_t encoding,
                   bool useCBC,
                   const VnString& vector) {
    if (!buffer.Decrypt(password, useCBC, vector)) {
        text.Empty();
        return false;
    }
    text.SetFromBuffer(buffer, encoding);
    return !text.IsEmpty();
}

} // namespace

uint8_t* VnString::EncryptToBytes(int32_t& size,
                                  const VnString& password,
                                  bool useCBC,
                                  const VnString& vector) const {
    size = 0;
    VnBuffer buffer;
    buffer.SetWide(Characters);
    if (buffer.IsEmpty() || !buffer.Encrypt(password, nullptr, useCBC, vector)
        || buffer.GetSize() > std::numeric_limits<int32_t>::max()) {
        return nullptr;
    }
    int64_t cipherSize = 0;
    uint8_t* bytes = buffer.CreateCopy(cipherSize);
    size = static_cast<int32_t>(cipherSize);
    return bytes;
}

bool VnString::EncryptToBase64(const VnString& password,
                               bool lineBreaks,
                               bool useCBC,
                               const VnString& vector) {
    VnBuffer buffer;
    buffer.SetWide(Characters);
    if (buffer.IsEmpty() || !buffer.Encrypt(password, nullptr, useCBC, vector)
        || buffer.GetSize() > std::numeric_limits<int32_t>::max()) {
        Empty();
        return false;
    }
    SetBase64(buffer.GetData(), static_cast<int32_t>(buffer.GetSize()), lineBreaks);
    return true;
}

bool VnString::DecryptFromBytes(const void* bytes,
                                int32_t count,
                                const VnString& password,
                                int32_t encoding,
                                bool useCBC,
                                const VnString& vector) {
    VnBuffer buffer;
    if (bytes != nullptr && count > 0) {
        buffer.Set(bytes, count);
    }
    return ReadDecrypted(*this, buffer, password, encoding, useCBC, vector);
}

bool VnString::DecryptFromBuffer(const VnBuffer& buffer,
                                 const VnString& password,
                                 int32_t encoding,
                                 bool useCBC,
                                 const VnString& vector) {
    VnBuffer copy(buffer);
    return ReadDecrypted(*this, copy, password, encoding, useCBC, vector);
}

bool VnString::DecryptFromBase64(const VnString& password,
                                 int32_t encoding,
                                 bool useCBC,
                                 const VnString& vector) {
    if (!IsEmpty()) {
        VnBuffer buffer;
        GetBase64(buffer);
        ReadDecrypted(*this, buffer, password, encoding, useCBC, vector);
    }
    return true;
}
