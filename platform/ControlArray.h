#pragma once
// Elements of a control array that can be loaded and unloaded at run time (index 0 from the design).
#include <functional>
#include <vector>

#include "Errors.h"

namespace vb {

template <class T>
class ControlArray {
public:
    using Factory = std::function<T*(int index)>;
    void SetFactory(Factory factory) { factory_ = std::move(factory); }
    void Add(T* element) { items_.push_back(element); }
    // An index with no element is error 9.
    T* operator[](int i) const {
        if (!Exists(i)) Raise(ErrSubscript);
        return items_[static_cast<size_t>(i)];
    }
    T* operator()(int i) const { return (*this)[i]; }
    int UBound() const { return static_cast<int>(items_.size()) - 1; }
    bool Exists(int i) const { return i >= 0 && i < static_cast<int>(items_.size()) && items_[static_cast<size_t>(i)]; }
    // A new element at index i, made by the factory. An index in use is error 360.
    T* Load(int i) {
        if (i < 0) Raise(ErrSubscript);
        if (Exists(i)) Raise(ErrAlreadyLoaded);
        if (static_cast<size_t>(i) >= items_.size()) items_.resize(static_cast<size_t>(i) + 1, nullptr);
        items_[static_cast<size_t>(i)] = factory_(i);
        return items_[static_cast<size_t>(i)];
    }
    // Removes a loaded element; the design's element 0 cannot be unloaded (error 362).
    void Unload(int i) {
        if (!Exists(i)) Raise(ErrArrayElementNotExists);
        if (i == 0) Raise(ErrCantUnloadDesignElement);
        delete items_[static_cast<size_t>(i)];
        items_[static_cast<size_t>(i)] = nullptr;
        while (!items_.empty() && !items_.back()) items_.pop_back();
    }
    const std::vector<T*>& Items() const { return items_; }

private:
    Factory factory_;
    std::vector<T*> items_;
};

}  // namespace vb
