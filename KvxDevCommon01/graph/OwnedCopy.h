// SPDX-License-Identifier: MIT
//
// OwnedCopy: an object on the heap, or none, that is copied with its owner. Objects that know how to clone
// themselves may be of a derived class.
#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace kvx {

template <class Object>
class OwnedCopy {
public:
    OwnedCopy() = default;
    OwnedCopy(std::nullptr_t) {}
    template <std::derived_from<Object> Derived>
    OwnedCopy(std::unique_ptr<Derived> object) : object_(std::move(object)) {}
    /// Throws std::bad_alloc when allocation fails; an owner of the interface catches it.
    OwnedCopy(const OwnedCopy& other) : object_(CopyOf(other.get())) {}
    OwnedCopy(OwnedCopy&&) noexcept = default;
    OwnedCopy& operator=(OwnedCopy other) noexcept {
        object_ = std::move(other.object_);
        return *this;
    }

    Object* get() const { return object_.get(); }
    Object& operator*() const { return *object_; }
    Object* operator->() const { return object_.get(); }
    explicit operator bool() const { return object_ != nullptr; }

private:
    static std::unique_ptr<Object> CopyOf(const Object* object) {
        if (object == nullptr) return nullptr;
        if constexpr (requires { object->Clone(); }) {
            if (auto copy = object->Clone()) return copy;
        } else {
            auto copy = std::make_unique<Object>(*object);
            if (copy->GetNum() == object->GetNum()) return copy;
        }
        throw std::bad_alloc();
    }

    std::unique_ptr<Object> object_;
};

}  // namespace kvx
