// CArray and CList, the collections of the interface. Both ask no more of an element than default
// construction and assignment: an element may have a copy constructor that takes a non-const
// reference, or none at all. CArray is a std::vector with an allocator of its own. CList has nodes
// of its own, and a POSITION is the address of one.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace mersola {

/// Makes every element by default construction, then assignment.
template <class T>
struct AssigningAllocator {
    /// What the standard asks of an allocator. The memory comes from std::allocator.
    using value_type = T;
    AssigningAllocator() = default;
    template <class U>
    AssigningAllocator(const AssigningAllocator<U>&) noexcept {}
    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* place, std::size_t count) noexcept {
        std::allocator<T>().deallocate(place, count);
    }
    template <class U>
    bool operator==(const AssigningAllocator<U>&) const noexcept {
        return true;
    }

    /// Makes an element of default content, or a copy; an assignment that raises leaves none
    /// behind.
    template <class U>
    void construct(U* place) noexcept(std::is_nothrow_default_constructible_v<U>) {
        ::new (static_cast<void*>(place)) U();
    }
    template <class U, class V>
    void construct(U* place, V&& value) noexcept(
        std::is_nothrow_default_constructible_v<U>&& std::is_nothrow_assignable_v<U&, V&&>) {
        construct(place);
        if constexpr (std::is_nothrow_assignable_v<U&, V&&>) {
            *place = std::forward<V>(value);
        } else {
            try {
                *place = std::forward<V>(value);
            } catch (...) {
                std::destroy_at(place);
                throw;
            }
        }
    }
};

/// Whether constants and temporaries cannot be handed over as this type.
template <class ARG>
concept MutableReference =
    std::is_lvalue_reference_v<ARG> && !std::is_const_v<std::remove_reference_t<ARG>>;

/// The neighbours of an element of a CList.
struct ListLink {
    ListLink* previous = nullptr;  ///< null for the first
    ListLink* next = nullptr;      ///< null for the last
};

}  // namespace mersola

/// A growable array, contiguous in memory. ARG is the type in which elements are handed over; where
/// that is a non-const reference, constants and temporaries are taken as well. An index outside the
/// array, or a negative size, raises std::out_of_range and changes nothing. Growth moves the
/// elements and ends references into the array. All the same, an element of the array itself may be
/// handed to any operation.
template <class T, class ARG = const T&>
class CArray {
    static_assert(!std::is_same_v<T, bool>, "bits have no addresses: use CArray<char, char>");

  public:
    /// The number of elements.
    int GetSize() const noexcept { return static_cast<int>(items_.size()); }
    int GetCount() const noexcept { return GetSize(); }
    /// Whether there are no elements.
    bool IsEmpty() const noexcept { return items_.empty(); }
    /// The last index; -1 when empty.
    int GetUpperBound() const noexcept { return GetSize() - 1; }

    /// Cuts the array, or grows it by default elements. `growBy` is accepted and not needed.
    void SetSize(int size, [[maybe_unused]] int growBy = -1) { items_.resize(Checked(size)); }
    /// Removes every element.
    void RemoveAll() noexcept { items_.clear(); }
    /// Gives back the memory that was set aside for growth.
    void FreeExtra() { items_.shrink_to_fit(); }

    /// An element, by reference.
    const T& GetAt(int index) const { return items_.at(Checked(index)); }
    T& GetAt(int index) { return items_.at(Checked(index)); }
    T& ElementAt(int index) { return GetAt(index); }
    const T& operator[](int index) const { return GetAt(index); }
    T& operator[](int index) { return GetAt(index); }
    /// The first element, which the others follow in memory; may be null when the array is empty.
    const T* GetData() const noexcept { return items_.data(); }
    T* GetData() noexcept { return items_.data(); }

    /// Assigns to an element.
    void SetAt(int index, ARG value) { GetAt(index) = value; }
    void SetAt(int index, const T& value) requires mersola::MutableReference<ARG> {
        GetAt(index) = value;
    }

    /// Append `value` and return its index.
    int Add(ARG value) { return Push(value); }
    int Add(const T& value) requires mersola::MutableReference<ARG> { return Push(value); }

    /// Assigns to an element; an index behind the end grows the array.
    void SetAtGrow(int index, const T& value) {
        if (const auto place = Checked(index); place < items_.size()) {
            items_[place] = value;
        } else {
            InsertAt(index, value);
        }
    }

    /// Appends the elements of `other`, which may be this array, and returns the index of the first
    /// of them.
    int Append(const CArray& other) {
        const int first = GetSize();
        const auto count = other.items_.size();
        for (std::size_t i = 0; i < count; ++i) {
            Push(other.items_[i]);
        }
        return first;
    }
    /// Makes this array equal to `other`.
    void Copy(const CArray& other) { *this = other; }

    /// Inserts `count` copies of `value` before `index`. When `index` lies behind the end, the
    /// array first grows to reach it.
    void InsertAt(int index, const T& value, int count = 1) {
        const auto place = Checked(index);
        const auto copies = Checked(count);
        T copy = T();
        copy = value;
        if (place > items_.size()) {
            items_.resize(place);
        }
        items_.insert(items_.begin() + index, copies, copy);
    }
    /// Removes `count` elements from `index` on.
    void RemoveAt(int index, int count = 1) {
        if (Checked(index) + Checked(count) > items_.size()) {
            throw std::out_of_range("CArray: no such elements");
        }
        items_.erase(items_.begin() + index, items_.begin() + index + count);
    }

    /// For loops over all elements.
    auto begin() noexcept { return items_.begin(); }
    auto end() noexcept { return items_.end(); }
    auto begin() const noexcept { return items_.begin(); }
    auto end() const noexcept { return items_.end(); }

  private:
    static std::size_t Checked(int number) {
        if (number < 0) {
            throw std::out_of_range("CArray: negative index or size");
        }
        return static_cast<std::size_t>(number);
    }
    int Push(const T& value) {
        items_.push_back(value);
        return GetUpperBound();
    }

    std::vector<T, mersola::AssigningAllocator<T>> items_;
};

/// A place in a CList. Null is the place behind either end. A position stays good until its element
/// is removed.
using POSITION = mersola::ListLink*;

/// A doubly linked list. ARG is the type in which elements are handed over, as for CArray. A null
/// position, or an element asked of an empty list, raises std::out_of_range and changes nothing.
template <class T, class ARG = const T&>
class CList {
    struct Node : mersola::ListLink {
        T value = T();
    };

    template <class Value>
    class Iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = Value*;
        using reference = Value&;

        explicit Iterator(POSITION place = nullptr) noexcept : place_(place) {}
        Value& operator*() const noexcept { return static_cast<Node*>(place_)->value; }
        Value* operator->() const noexcept { return &**this; }
        Iterator& operator++() noexcept {
            place_ = place_->next;
            return *this;
        }
        Iterator operator++(int) noexcept {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator&) const noexcept = default;

      private:
        POSITION place_;
    };

  public:
    /// An empty list. Copies have elements of their own; what is moved from is left empty.
    CList() noexcept = default;
    CList(const CList& other) : CList() {
        for (const T& value : other) {
            AddTail(value);
        }
    }
    CList(CList&& other) noexcept { Swap(other); }
    CList& operator=(CList other) noexcept {
        Swap(other);
        return *this;
    }
    ~CList() { RemoveAll(); }

    /// The number of elements.
    int GetCount() const noexcept { return count_; }
    int GetSize() const noexcept { return count_; }
    /// Whether there are no elements.
    bool IsEmpty() const noexcept { return count_ == 0; }

    /// Add an element at the end or at the front, and return its position.
    POSITION AddTail(ARG value) { return Link(value, tail_, nullptr); }
    POSITION AddTail(const T& value) requires mersola::MutableReference<ARG> {
        return Link(value, tail_, nullptr);
    }
    POSITION AddHead(ARG value) { return Link(value, nullptr, head_); }
    POSITION AddHead(const T& value) requires mersola::MutableReference<ARG> {
        return Link(value, nullptr, head_);
    }

    /// The position of the first and of the last element; null in an empty list.
    POSITION GetHeadPosition() const noexcept { return head_; }
    POSITION GetTailPosition() const noexcept { return tail_; }
    /// The position of the element number `index`, counted from 0; null if there is none.
    POSITION FindIndex(int index) const noexcept {
        POSITION place = index < 0 ? nullptr : head_;
        for (; place && index > 0; --index) {
            place = place->next;
        }
        return place;
    }

    /// An element, by reference: at a position, the first, or the last.
    const T& GetAt(POSITION place) const { return At(place); }
    T& GetAt(POSITION place) { return At(place); }
    const T& GetHead() const { return At(head_); }
    T& GetHead() { return At(head_); }
    const T& GetTail() const { return At(tail_); }
    T& GetTail() { return At(tail_); }

    /// The element at `place`. GetNext then moves `place` on to the next position, GetPrev to the
    /// previous one.
    const T& GetNext(POSITION& place) const { return Step(place, &mersola::ListLink::next); }
    T& GetNext(POSITION& place) { return Step(place, &mersola::ListLink::next); }
    const T& GetPrev(POSITION& place) const { return Step(place, &mersola::ListLink::previous); }
    T& GetPrev(POSITION& place) { return Step(place, &mersola::ListLink::previous); }

    /// Removes the element at a position, and with it the position. Other positions stay good.
    void RemoveAt(POSITION place) {
        At(place);
        (place->previous ? place->previous->next : head_) = place->next;
        (place->next ? place->next->previous : tail_) = place->previous;
        --count_;
        delete static_cast<Node*>(place);
    }
    /// Remove an element and return it.
    T RemoveHead() { return Take(head_); }
    T RemoveTail() { return Take(tail_); }
    /// Removes every element.
    void RemoveAll() noexcept {
        while (head_) {
            delete static_cast<Node*>(std::exchange(head_, head_->next));
        }
        tail_ = nullptr;
        count_ = 0;
    }

    /// For loops over all elements.
    auto begin() noexcept { return Iterator<T>(head_); }
    auto end() noexcept { return Iterator<T>(); }
    auto begin() const noexcept { return Iterator<const T>(head_); }
    auto end() const noexcept { return Iterator<const T>(); }

  private:
    static T& At(POSITION place) {
        if (!place) {
            throw std::out_of_range("CList: no element there");
        }
        return static_cast<Node*>(place)->value;
    }
    static T& Step(POSITION& place, POSITION mersola::ListLink::*direction) {
        T& value = At(place);
        place = place->*direction;
        return value;
    }
    POSITION Link(const T& value, POSITION previous, POSITION next) {
        auto node = std::make_unique<Node>();
        node->value = value;
        node->previous = previous;
        node->next = next;
        (previous ? previous->next : head_) = node.get();
        (next ? next->previous : tail_) = node.get();
        ++count_;
        return node.release();
    }
    T Take(POSITION place) {
        T value = T();
        value = std::move(At(place));
        RemoveAt(place);
        return value;
    }
    void Swap(CList& other) noexcept {
        std::swap(head_, other.head_);
        std::swap(tail_, other.tail_);
        std::swap(count_, other.count_);
    }

    POSITION head_ = nullptr;
    POSITION tail_ = nullptr;
    int count_ = 0;
};
