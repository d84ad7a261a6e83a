// SPDX-License-Identifier: MIT
// The members of the container templates, and the instantiations that the library exports: exactly
// those, member by member.
#include "KxContainers.h"

#include "KxElementTypes.h"
#include "KxFieldAttr.h"
#include "KxPoint.h"
#include "KxString.h"
#include "KxWMTileDataCache.h"

#include <utility>

namespace KxC {

template <class T>
KxArray<T>::KxArray() : m_nValue(0)
{
}

template <class T>
KxArray<T>::KxArray(KxArray&& other) noexcept
    : m_elements(std::move(other.m_elements)), m_nValue(other.m_nValue)
{
}

template <class T>
KxArray<T>::KxArray(const KxArray& other) : m_elements(other.m_elements), m_nValue(other.m_nValue)
{
}

template <class T>
// NOLINTNEXTLINE(modernize-use-equals-default): a defaulted one cannot be instantiated by itself
KxArray<T>::~KxArray()
{
}

template <class T>
KxArray<T>& KxArray<T>::operator=(KxArray&& other) noexcept
{
    if (this != &other) {
        m_elements = std::move(other.m_elements);
        other.m_elements.clear();
    }
    m_nValue = other.m_nValue;
    return *this;
}

template <class T>
KxArray<T>& KxArray<T>::operator=(const KxArray& other)
{
    if (this != &other) {
        m_elements = other.m_elements;
        m_nValue = other.m_nValue;
    }
    return *this;
}

template <class T>
T& KxArray<T>::operator[](int i)
{
    if (i < 0 || static_cast<std::size_t>(i) >= m_elements.size())
        throw std::out_of_range("invalid vector<T> subscript");
    return m_elements[static_cast<std::size_t>(i)];
}

template <class T>
int KxArray<T>::GetSize() const
{
    return static_cast<int>(m_elements.size());
}

template <class T>
typename KxList<T>::Links* KxList<T>::NewSentinel()
{
    auto* sentinel = new Links;
    sentinel->m_pNext = sentinel;
    sentinel->m_pPrevious = sentinel;
    return sentinel;
}

template <class T>
void KxList<T>::LinkBefore(Links* place, Links* node)
{
    node->m_pNext = place;
    node->m_pPrevious = place->m_pPrevious;
    place->m_pPrevious->m_pNext = node;
    place->m_pPrevious = node;
}

template <class T>
void KxList<T>::Append(const T& element)
{
    if (m_nCount >= kMaxCount)
        throw std::length_error("list<T> too long");
    LinkBefore(m_pSentinel, new Node(element));
    ++m_nCount;
}

/// Frees `first` and what follows it, so that the list ends with the node before it.
template <class T>
void KxList<T>::FreeNodesFrom(Links* first)
{
    Links* last = first->m_pPrevious;
    while (first != m_pSentinel) {
        Links* next = first->m_pNext;
        delete static_cast<Node*>(first);
        --m_nCount;
        first = next;
    }
    last->m_pNext = m_pSentinel;
    m_pSentinel->m_pPrevious = last;
}

template <class T>
KxList<T>::KxList() : m_pSentinel(NewSentinel()), m_nCount(0)
{
}

template <class T>
KxList<T>::KxList(KxList&& other) : m_pSentinel(NewSentinel()), m_nCount(0)
{
    std::swap(m_pSentinel, other.m_pSentinel);
    std::swap(m_nCount, other.m_nCount);
}

// An element whose copy throws must not leak those before it.
template <class T>
KxList<T>::KxList(const KxList& other) : m_pSentinel(NewSentinel()), m_nCount(0)
{
    try {
        for (Links* node = other.m_pSentinel->m_pNext; node != other.m_pSentinel;
             node = node->m_pNext)
            Append(static_cast<Node*>(node)->m_element);
    } catch (...) {
        FreeNodesFrom(m_pSentinel->m_pNext);
        delete m_pSentinel;
        throw;
    }
}

template <class T>
KxList<T>::~KxList()
{
    FreeNodesFrom(m_pSentinel->m_pNext);
    delete m_pSentinel;
}

template <class T>
KxList<T>& KxList<T>::operator=(KxList&& other) noexcept
{
    if (this != &other) {
        FreeNodesFrom(m_pSentinel->m_pNext);
        std::swap(m_pSentinel, other.m_pSentinel);
        std::swap(m_nCount, other.m_nCount);
    }
    return *this;
}

template <class T>
KxList<T>& KxList<T>::operator=(const KxList& other)
{
    if (this == &other)
        return *this;
    Links* to = m_pSentinel->m_pNext;
    Links* from = other.m_pSentinel->m_pNext;
    for (; to != m_pSentinel && from != other.m_pSentinel; to = to->m_pNext, from = from->m_pNext)
        static_cast<Node*>(to)->m_element = static_cast<Node*>(from)->m_element;
    FreeNodesFrom(to);
    for (; from != other.m_pSentinel; from = from->m_pNext)
        Append(static_cast<Node*>(from)->m_element);
    return *this;
}

template <class T>
typename KxList<T>::POSITION KxList<T>::AddTail(const T& element)
{
    Append(element);
    POSITION position;
    position.m_pNode = m_pSentinel->m_pPrevious;
    return position;
}

template <class T>
typename KxList<T>::POSITION KxList<T>::GetHeadPosition()
{
    POSITION position;
    position.m_pNode = m_pSentinel->m_pNext;
    return position;
}

template <class T>
T& KxList<T>::GetNext(POSITION& position)
{
    Links* node = position.m_pNode;
    position.m_pNode = node->m_pNext;
    return static_cast<Node*>(node)->m_element;
}

template <class T>
unsigned char KxList<T>::IsEOF(const POSITION& position) const
{
    return position.m_pNode == m_pSentinel ? 1 : 0;
}

// The five members that every exported instantiation has.
// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are types
#define KX_EXPORT_VALUE_MEMBERS(Container, Element)                                                \
    template Container<Element>::Container(Container<Element>&&);                                  \
    template Container<Element>::Container(const Container<Element>&);                             \
    template Container<Element>::~Container();                                                     \
    template Container<Element>& Container<Element>::operator=(Container<Element>&&);              \
    template Container<Element>& Container<Element>::operator=(const Container<Element>&);
// NOLINTEND(bugprone-macro-parentheses)

KX_EXPORT_VALUE_MEMBERS(KxArray, unsigned char)
KX_EXPORT_VALUE_MEMBERS(KxArray, int)
KX_EXPORT_VALUE_MEMBERS(KxArray, unsigned int)
KX_EXPORT_VALUE_MEMBERS(KxArray, unsigned char*)
KX_EXPORT_VALUE_MEMBERS(KxArray, KxFeature*)
KX_EXPORT_VALUE_MEMBERS(KxArray, KxRawDataCache*)
KX_EXPORT_VALUE_MEMBERS(KxArray, KxFieldAttr::KxFieldDef)
KX_EXPORT_VALUE_MEMBERS(KxArray, KxGridLevelInfo)
KX_EXPORT_VALUE_MEMBERS(KxArray, KxSPluginElem)
KX_EXPORT_VALUE_MEMBERS(KxArray, KxFieldAttr)
KX_EXPORT_VALUE_MEMBERS(KxArray, KxPoint3d)
KX_EXPORT_VALUE_MEMBERS(KxArray, KxString)
KX_EXPORT_VALUE_MEMBERS(KxList, KxGridLevelInfo*)
KX_EXPORT_VALUE_MEMBERS(KxList, KxSMeshUVMoveParam*)
KX_EXPORT_VALUE_MEMBERS(KxList, KxWMImageTileData*)
KX_EXPORT_VALUE_MEMBERS(KxList, KxProjectItem)
KX_EXPORT_VALUE_MEMBERS(KxList, KxSRelativeDirItem)

template KxArray<int>::KxArray();
template KxArray<KxPoint3d>::KxArray();
template KxArray<KxString>::KxArray();
template KxString& KxArray<KxString>::operator[](int);
template int KxArray<KxString>::GetSize() const;

template KxList<KxWMImageTileData*>::KxList();
template KxList<KxWMImageTileData*>::POSITION
KxList<KxWMImageTileData*>::AddTail(KxWMImageTileData* const&);
template KxList<KxWMImageTileData*>::POSITION KxList<KxWMImageTileData*>::GetHeadPosition();
template KxWMImageTileData*& KxList<KxWMImageTileData*>::GetNext(POSITION&);
template unsigned char KxList<KxWMImageTileData*>::IsEOF(const POSITION&) const;

} // namespace KxC
