// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

namespace KxC {

/// Encoded bytes with the extension of their format (".png"). Owns the bytes, which are `malloc`
/// memory so that codecs' own buffers are adopted instead of copied.
/// Threads: separate objects are independent; const use of one object may be shared.
class KXCOMMON_API KxRawData
{
public:
    KxRawData();
    ~KxRawData();
    KxRawData(const KxRawData&) = delete;
    KxRawData& operator=(const KxRawData&) = delete;

    /// Number of bytes; 0 when there are none.
    unsigned int GetSize() const;
    /// The bytes, still owned here; null when there are none.
    unsigned char* GetData() const;

    /// Extension with its leading dot, empty when not set.
    const KxString& GetExt() const;
    void SetExt(const KxString& ext);

    /// Takes `bytes` (allocated with malloc) over and frees what it held before.
    void Attach(unsigned char* bytes, unsigned int size);
    /// Hands the bytes over: the caller frees them with free(). Leaves no bytes here.
    unsigned char* Detach();
    /// Frees the bytes. The extension stays.
    void Clear();

private:
    unsigned char* m_pData;
    unsigned int m_nSize;
    KxString m_strExt;
};

} // namespace KxC
