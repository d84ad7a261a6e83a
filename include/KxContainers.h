// SPDX-License-Identifier: MIT
/// Collections that cross the library's boundary.
///
/// The members marked KXTILE_API are defined out of line in libKxTile for the element types that
/// the library exports, and only there: using one of them with another element type does not link.
/// The unmarked members are inline and work for every copyable element type.
/// Threads: separate objects are independent; const use of one object may be shared.
#pragma once

#include "KxTileExport.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

namespace KxC {

/// A growable array. Besides its elements it carries one 32-bit value, zero at first, that every
/// copy, move and assignment copies along.
template <class T>
class KxArray
{
public:
    KXTILE_API KxArray();
    KXTILE_API KxArray(KxArray&& other) noexcept;
    KXTILE_API KxArray(const KxArray& other);
    KXTILE_API ~KxArray();

    /// Takes over the elements of `other`, which is left empty; onto itself it keeps them.
    KXTILE_API KxArray& operator=(KxArray&& other) noexcept;
    KXTILE_API KxArray& operator=(const KxArray& other);

    /// @param i  [0, GetSize())
    /// @throws std::out_of_range "invalid vector<T> subscript" outside that range
    KXTILE_API T& operator[](int i);

    /// Number of elements.
    KXTILE_API int GetSize() const;

    /// Appends a copy of `element`.
    /// @throws std::length_error "vector<T> too long" when no further element can be counted
    void Add(const T& element)
    {
        if (m_elements.size() == m_elements.max_size())
            throw std::length_error("vector<T> too long");
        m_elements.push_back(element);
    }

    void RemoveAll() { m_elements.clear(); }

    /// Elements in order, for range-based loops.
    typename std::vector<T>::iterator begin() { return m_elements.begin(); }
    typename std::vector<T>::iterator end() { return m_elements.end(); }
    typename std::vector<T>::const_iterator begin() const { return m_elements.begin(); }
    typename std::vector<T>::const_iterator end() const { return m_elements.end(); }

private:
    std::vector<T> m_elements;
    std::uint32_t m_nValue;
};

/// A doubly linked list walked with positions:
/// `p = GetHeadPosition(); while (!IsEOF(p)) e = GetNext(p);`
template <class T>
class KxList
{
    struct Links
    {
        Links* m_pNext;
        Links* m_pPrevious;
    };
    struct Node : Links
    {
        explicit Node(const T& element) : Links{}, m_element(element) {}
        T m_element;
    };

public:
    /// A place in one list: an element, or the end. Valid until that element's list is assigned
    /// to or destroyed.
    class POSITION
    {
        friend class KxList;
        Links* m_pNode = nullptr;
        std::uintptr_t m_nReserved = 0;
    };

    KXTILE_API KxList();
    /// Takes over the nodes of `other`, which is left empty. Allocates a sentinel for it.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): the allocation may fail
    KXTILE_API KxList(KxList&& other);
    KXTILE_API KxList(const KxList& other);
    KXTILE_API ~KxList();
    KXTILE_API KxList& operator=(KxList&& other) noexcept;
    KXTILE_API KxList& operator=(const KxList& other);

    /// Appends a copy of `element`.
    /// @return the position of the new last element
    /// @throws std::length_error "list<T> too long" when no further element can be counted
    KXTILE_API POSITION AddTail(const T& element);

    /// @return the position of the first element, the end when the list is empty
    KXTILE_API POSITION GetHeadPosition();

    /// The element at `position`, which moves on to the next. `position` must not be at the end.
    KXTILE_API T& GetNext(POSITION& position);

    /// @return 1 when `position` stands after the last element, else 0
    KXTILE_API unsigned char IsEOF(const POSITION& position) const;

private:
    static constexpr std::size_t kMaxCount =
        std::numeric_limits<std::ptrdiff_t>::max() / sizeof(Node);

    static Links* NewSentinel();
    static void LinkBefore(Links* place, Links* node);
    void Append(const T& element);
    void FreeNodesFrom(Links* first);

    Links* m_pSentinel;
    std::size_t m_nCount;
};

} // namespace KxC
