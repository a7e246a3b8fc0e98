#pragma once
// Reference-counted base of toolkit objects. A new object holds one
// reference, owned by whoever created it; `remember` adds one, `forget`
// drops one and deletes the object when none is left. Views are owned by
// the container they are added to.

#include <cstdint>

namespace VSTGUI {

class CBaseObject {
public:
    CBaseObject() = default;
    CBaseObject(const CBaseObject&) = delete;
    CBaseObject& operator=(const CBaseObject&) = delete;

    void remember() { ++referenceCount; }
    void forget() {
        if (--referenceCount == 0) delete this;
    }
    int32_t getNbReference() const { return referenceCount; }

protected:
    virtual ~CBaseObject() = default;

private:
    int32_t referenceCount = 1;
};

// Holds one reference for a scope; adopts a fresh object's first reference.
template <class T>
class SharedPointer {
public:
    SharedPointer() = default;
    static SharedPointer adopt(T* p) { SharedPointer s; s.object = p; return s; }
    explicit SharedPointer(T* p) : object(p) { if (object) object->remember(); }
    SharedPointer(const SharedPointer& o) : SharedPointer(o.object) {}
    SharedPointer& operator=(const SharedPointer& o) {
        if (o.object) o.object->remember();
        if (object) object->forget();
        object = o.object;
        return *this;
    }
    ~SharedPointer() { if (object) object->forget(); }
    T* get() const { return object; }
    T* operator->() const { return object; }
    explicit operator bool() const { return object != nullptr; }

private:
    T* object = nullptr;
};

}  // namespace VSTGUI
