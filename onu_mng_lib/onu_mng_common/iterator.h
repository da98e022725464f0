/// Indexed collections of polymorphic items, and a walk over them.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_ITERATOR_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_ITERATOR_H

class Iterator;

/// An item of an `Aggregate`.
class AggregateObject {
public:
    virtual ~AggregateObject() = default;
};

/// An indexed collection. It owns at most one iterator, handed out by `CreateIterator`: walks that may
/// overlap (two operators, two tasks) each use an `Iterator` of their own instead.
///
/// Nothing here locks; what `GetItem` and `GetSize` guard is said by the derived class.
class Aggregate {
public:
    Aggregate() = default;
    /// A copy has no iterator.
    Aggregate(const Aggregate&) {}
    /// Deletes this aggregate's iterator; takes nothing over.
    Aggregate& operator=(const Aggregate&);
    virtual ~Aggregate();

    /// The item at `index` (from 0); null when there is none.
    virtual AggregateObject* GetItem(unsigned int index) = 0;
    virtual unsigned int GetSize() const = 0;

    /// The aggregate's iterator, rewound; the same object at every call. Null when memory is short.
    Iterator* CreateIterator();
    /// The aggregate's iterator where it stands. Null when memory is short.
    Iterator* CreateIterator() const;

private:
    mutable Iterator* p_iterator = nullptr;
};

/// A position in an aggregate. The size is asked at every step, so a collection that grows or shrinks during
/// a walk is walked to its new end.
class Iterator {
public:
    /// Without an aggregate the walk is at its end at once.
    Iterator() = default;
    explicit Iterator(Aggregate* aggregate) : p_aggregate(aggregate) {}
    explicit Iterator(const Aggregate* aggregate) : p_aggregate(const_cast<Aggregate*>(aggregate)) {}
    /// A copy walks the same aggregate from its first item.
    Iterator(const Iterator& other) : p_aggregate(other.p_aggregate) {}
    Iterator& operator=(const Iterator& other);

    void Begin() { index = 0; }
    bool IsEnd() const;
    /// The item at the position; null at the end and without an aggregate.
    AggregateObject* CurrentItem() const;
    AggregateObject* operator()() const { return CurrentItem(); }
    /// Goes on to the next item; stays at the end.
    void Next();
    void operator++() { Next(); }
    void operator++(int) { Next(); }

private:
    Aggregate* p_aggregate = nullptr;
    unsigned int index = 0;
};

#endif
