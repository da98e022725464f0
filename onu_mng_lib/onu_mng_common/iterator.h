/// Indexed collections of polymorphic items, and iterators over them.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_ITERATOR_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_ITERATOR_H

class Iterator;

/// An item of an `Aggregate`.
class AggregateObject {
public:
    virtual ~AggregateObject() = default;
};

/// An indexed collection. It owns at most one iterator, which `CreateIterator` returns. If two walks may
/// overlap (two operators, two tasks), each must use an `Iterator` of its own instead.
///
/// Thread safety: this class takes no lock. The derived class says whether `GetItem` and `GetSize` do.
class Aggregate {
public:
    Aggregate() = default;
    /// A copy has no iterator.
    Aggregate(const Aggregate&) {}
    /// Deletes the iterator of this aggregate. That of the other one is not copied.
    Aggregate& operator=(const Aggregate&);
    virtual ~Aggregate();

    /// Returns the item at `index` (from 0); null if there is none.
    virtual AggregateObject* GetItem(unsigned int index) = 0;
    virtual unsigned int GetSize() const = 0;

    /// Returns the iterator of the aggregate, set to the first item. Every call returns the same object; null
    /// if memory is short.
    Iterator* CreateIterator();
    /// Returns the iterator of the aggregate at its present position; null if memory is short.
    Iterator* CreateIterator() const;

private:
    mutable Iterator* p_iterator = nullptr;
};

/// A position in an aggregate. Each step asks for the size again, so if the collection grows or shrinks, the
/// walk ends at its new end.
class Iterator {
public:
    /// Makes an iterator without an aggregate. It is at its end.
    Iterator() = default;
    explicit Iterator(Aggregate* aggregate) : p_aggregate(aggregate) {}
    explicit Iterator(const Aggregate* aggregate) : p_aggregate(const_cast<Aggregate*>(aggregate)) {}
    /// A copy starts at the first item of the same aggregate.
    Iterator(const Iterator& other) : p_aggregate(other.p_aggregate) {}
    Iterator& operator=(const Iterator& other);

    /// Moves to the first item.
    void Begin() { index = 0; }
    /// Returns whether there is no item at the position.
    bool IsEnd() const;
    /// Returns the item at the position; null at the end and without an aggregate.
    AggregateObject* CurrentItem() const;
    AggregateObject* operator()() const { return CurrentItem(); }
    /// Moves to the next item. At the end it does nothing.
    void Next();
    void operator++() { Next(); }
    void operator++(int) { Next(); }

private:
    Aggregate* p_aggregate = nullptr;
    unsigned int index = 0;
};

#endif
