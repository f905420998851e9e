// Interfaces of objects as objects of their own.
#pragma once

namespace openhost {

/// The interface `Interface` of an `Object`. Holds the object.
template <class Interface, class Object>
class Facet : public Interface {
public:
    explicit Facet(Object& target) : target_(target) { target_.AddRef(); }
    ~Facet() override { target_.Release(); }
    ZALBaseUnknown* GetImpl(int) override { return &target_; }

protected:
    Object& Target() const { return target_; }

private:
    Object& target_;
};

} // namespace openhost
