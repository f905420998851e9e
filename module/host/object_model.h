// Object model of the host: reference counts, queries, classes by name, notifications, traces.
// All of it is used on the user-interface thread only, except where an operation says otherwise.
//
// Life of an object, in order:
//   1. `new` on a ZALBaseUnknown class; the count is 1 and belongs to the creator.
//   2. AddRef for each further holder, Release by each holder; the last Release deletes.
//   3. At the end weak references turn empty, and subscriptions from and to the object are gone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// ---------------------------------------------------------------------------------------------
// Result codes

/// A 32-bit result, tested by sign: negative is a failure.
using HRESULT = std::int32_t;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005U);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057U);

constexpr bool SUCCEEDED(HRESULT result)
{
    return result >= 0;
}
constexpr bool FAILED(HRESULT result)
{
    return result < 0;
}

// ---------------------------------------------------------------------------------------------
// Classes

/// The identity of a class or an interface: its name. Compared as text.
using ZALClassId = const char*;

/// Kinds of a class record.
inline constexpr int ZALMetaImplementation = 1; ///< a class that is created and counted
inline constexpr int ZALMetaAdapter = 7;        ///< an adapter that forwards an interface to an object

/// The record of one class. Records are made by fct_RetrieveMetaObject, belong to the host and stay
/// until the process ends.
class ZALMetaClass {
public:
    /// Name of the class; never null.
    const char* GetName() const;
    /// Identity of the class, or of the interface for an adapter.
    ZALClassId GetClassId() const;
    /// One of the kinds above.
    int GetKind() const;
    /// Record of the base class; null for a root.
    ZALMetaClass* GetBase() const;
    /// Name of the module that registered the class.
    const char* GetModule() const;
    /// 1 when `className` names this class or one of its bases, 0 otherwise.
    int IsAKindOf(const char* className) const;

private:
    friend struct ZALMetaClassAccess;
    ZALMetaClass() = default;
    const char* name_ = "";
    const char* module_ = "";
    ZALMetaClass* base_ = nullptr;
    int kind_ = 0;
};

/// The record of `className` in the kind `kind`: made at the first call, the same one ever after. A class and the
/// adapter of an interface may share a name, each with a record of its own. `extended` names the class that the record
/// extends, "ZALNull" for none. The texts are copied.
ZALMetaClass* fct_RetrieveMetaObject(const char* className, int kind, ZALMetaClass* base, const char* extended,
                                     const char* module);

// ---------------------------------------------------------------------------------------------
// Objects

struct ZALObjectLinks; // the host's book-keeping of one object

/// Base of every object of the host and of its modules.
class ZALBaseUnknown {
public:
    ZALBaseUnknown();
    ZALBaseUnknown(const ZALBaseUnknown&) = delete;
    ZALBaseUnknown& operator=(const ZALBaseUnknown&) = delete;
    /// Empties weak references and drops every subscription from and to the object.
    virtual ~ZALBaseUnknown();

    /// Heap operators of the host, so that an object may be deleted by another module than its creator's.
    static void* operator new(std::size_t size);
    static void operator delete(void* memory) noexcept;

    /// Adds a reference. Returns the new count.
    virtual unsigned int AddRef();
    /// Drops a reference and deletes the object with the last one. Returns the count that is left.
    virtual unsigned int Release();

    /// Gives the interface `interfaceName` of the object with a reference added. Looks at the object's own
    /// class first, then for an adapter in the class dictionary, base classes included.
    /// E_FAIL, and null in `result`, when there is none.
    HRESULT QueryInterface(ZALClassId interfaceName, ZALBaseUnknown** result);
    /// The object behind an adapter, or the object itself. No reference is added. `level` is 0.
    virtual ZALBaseUnknown* GetImpl(int level);

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    virtual ZALMetaClass* GetMetaObject() const;
    /// Name of the object's class.
    virtual const char* IsA() const;
    /// 1 when the object's class is `className` or derives from it, 0 otherwise.
    virtual int IsAKindOf(const char* className) const;

private:
    friend struct ZALObjectLinks;
    ZALObjectLinks* links_ = nullptr;
    unsigned int references_ = 1;
};

/// `object` as a `T` by its class record, or null. No reference is added.
template <class T>
T* ZALSysDynamicCast(ZALBaseUnknown* object)
{
    return object && object->IsAKindOf(T::ClassName()) ? static_cast<T*>(object) : nullptr;
}

/// The operations of a class that has a record of its own, in the public part of the class. MetaObject makes the record
/// at its first call; the others ask it.
#define ZAL_DECLARE_META_CLASS                                                                                         \
    static ZALClassId ClassId();                                                                                       \
    static const char* ClassName();                                                                                    \
    static ZALMetaClass* MetaObject();                                                                                 \
    ZALMetaClass* GetMetaObject() const override;                                                                      \
    const char* IsA() const override;                                                                                  \
    int IsAKindOf(const char* className) const override;

/// A reference that does not keep its object alive.
class ZALBaseUnknown_WR {
public:
    ZALBaseUnknown_WR() = default;
    explicit ZALBaseUnknown_WR(ZALBaseUnknown* object);
    ZALBaseUnknown_WR(const ZALBaseUnknown_WR& other);
    ZALBaseUnknown_WR& operator=(const ZALBaseUnknown_WR& other);
    ZALBaseUnknown_WR& operator=(ZALBaseUnknown* object);
    ~ZALBaseUnknown_WR();
    /// The object with a reference added, which the caller releases; null once it is gone.
    ZALBaseUnknown* GetComponent() const;

private:
    struct ZALWeakCell* cell_ = nullptr;
    friend struct ZALObjectLinks;
};

/// A handle on the interface `T` of an object. Queries on construction, releases at its end.
template <class T>
class ZALInterfaceHandle {
public:
    ZALInterfaceHandle() = default;
    /// Queries `object` for T; the handle is null when the object is null or lacks the interface.
    explicit ZALInterfaceHandle(ZALBaseUnknown* object)
    {
        ZALBaseUnknown* found = nullptr;
        if (object && SUCCEEDED(object->QueryInterface(T::ClassName(), &found)))
            interface_ = static_cast<T*>(found);
    }
    /// Queries the object of another handle.
    template <class Other>
    explicit ZALInterfaceHandle(const ZALInterfaceHandle<Other>& other) : ZALInterfaceHandle(other.Get())
    {
    }
    ZALInterfaceHandle(const ZALInterfaceHandle& other) : interface_(other.interface_)
    {
        if (interface_)
            interface_->AddRef();
    }
    ZALInterfaceHandle(ZALInterfaceHandle&& other) noexcept : interface_(std::exchange(other.interface_, nullptr)) {}
    ZALInterfaceHandle& operator=(ZALInterfaceHandle other) noexcept
    {
        std::swap(interface_, other.interface_);
        return *this;
    }
    ~ZALInterfaceHandle()
    {
        if (interface_)
            interface_->Release();
    }
    /// A handle that takes over the caller's reference on `object`; null for null.
    static ZALInterfaceHandle Take(T* object)
    {
        ZALInterfaceHandle handle;
        handle.interface_ = object;
        return handle;
    }
    /// The interface, or null. No reference is added.
    T* Get() const { return interface_; }
    T* operator->() const { return interface_; }
    explicit operator bool() const { return interface_ != nullptr; }
    /// Whether both are of one object, whichever adapters they hold; two null handles are equal.
    friend bool operator==(const ZALInterfaceHandle& left, const ZALInterfaceHandle& right)
    {
        return left.Object() == right.Object();
    }

private:
    ZALBaseUnknown* Object() const { return interface_ ? interface_->GetImpl(0) : nullptr; }
    T* interface_ = nullptr;
};

using ZALBaseUnknown_var = ZALInterfaceHandle<ZALBaseUnknown>;

/// A list of handles, counted from 1; may hold null ones. An index outside 1 to Size() is the caller's error.
template <class T>
class ZALHandleList {
public:
    int Size() const { return static_cast<int>(items_.size()); }
    const ZALInterfaceHandle<T>& operator[](int index) const { return items_[static_cast<std::size_t>(index - 1)]; }
    void Append(const ZALInterfaceHandle<T>& item) { items_.push_back(item); }
    /// Takes away each handle that equals `item`.
    void RemoveValue(const ZALInterfaceHandle<T>& item) { std::erase(items_, item); }

private:
    std::vector<ZALInterfaceHandle<T>> items_;
};

using ZALListValZALBaseUnknown_var = ZALHandleList<ZALBaseUnknown>;

// ---------------------------------------------------------------------------------------------
// Class dictionary

/// Makes an object. The caller owns one reference on the result, which may be null.
using ZALCreationFunction = ZALBaseUnknown* (*)();
/// Makes or finds the adapter of `implementation`. The caller owns one reference on the result.
using ZALAdapterFunction = ZALBaseUnknown* (*)(ZALBaseUnknown* implementation);

/// An entry of the host's class dictionary. A module makes its entries as static objects; they leave the
/// dictionary when the module is unloaded.
class ZALFillDictionary {
public:
    /// `className` offers `interfaceName` through the adapters of `adapter`. `flag` 1 marks an entry made
    /// by code, as all entries of a module are.
    ZALFillDictionary(const char* className, const char* interfaceName, ZALAdapterFunction adapter, int flag);
    /// `className` can be made by name, as the command framework makes commands.
    ZALFillDictionary(const char* className, ZALCreationFunction creation);
    ZALFillDictionary(const ZALFillDictionary&) = delete;
    ZALFillDictionary& operator=(const ZALFillDictionary&) = delete;
    ~ZALFillDictionary();

    /// Lets the host make `className` by name with `creation`. Returns 1, or 0 when the name is taken.
    static int RegisterFunctionCreation(const char* className, ZALCreationFunction creation);

private:
    const char* className_;
    const char* interfaceName_;
};

/// The adapter that the host's link table holds for the pair, with a reference added, or null.
ZALBaseUnknown* ZALSysGetLinkedAdapter(ZALBaseUnknown* implementation, ZALClassId interfaceName);
/// Enters `adapter` for the pair. The table holds no reference: the pair leaves it when either object ends.
void ZALSysLinkAdapter(ZALBaseUnknown* implementation, ZALClassId interfaceName, ZALBaseUnknown* adapter);

// ---------------------------------------------------------------------------------------------
// Notifications

/// What a publisher tells its subscribers. Its class name is the subject of a subscription.
class ZALNotification : public ZALBaseUnknown {
public:
    /// `automaticDelete` 0: the sender owns the object, usually on its stack. 1: the dispatch releases it.
    explicit ZALNotification(int automaticDelete = 0);
    ~ZALNotification() override;
    int GetAutomaticDelete() const { return automaticDelete_; }

    ZAL_DECLARE_META_CLASS

private:
    int automaticDelete_;
};

/// Identifies one subscription; 0 is none. Numbers are not used twice.
using ZALCallback = std::uint32_t;

/// The form of a callback: publisher, notification, client data. None of them may be kept.
using ZALSubscriberMethod = void (ZALBaseUnknown::*)(ZALBaseUnknown* publisher, ZALNotification* notification,
                                                     void* data);

/// An object that subscribes to notifications of others. Ending subscriptions needs no memory and does not fail.
class ZALEventSubscriber : public ZALBaseUnknown {
public:
    ZALEventSubscriber();
    ~ZALEventSubscriber() override;

    /// Calls `method` of this object for each notification of the class `notificationClass`, exactly, that
    /// `publisher` dispatches. Subscribing twice calls twice. Ends with either object. Returns 0, and
    /// subscribes to nothing, when `publisher` is null.
    ZALCallback AddCallback(ZALBaseUnknown* publisher, const char* notificationClass, ZALSubscriberMethod method,
                            void* data);
    /// The same for a method of a derived class.
    template <class Subscriber>
    ZALCallback AddCallback(ZALBaseUnknown* publisher, const char* notificationClass,
                            void (Subscriber::*method)(ZALBaseUnknown*, ZALNotification*, void*), void* data)
    {
        return AddCallback(publisher, notificationClass, static_cast<ZALSubscriberMethod>(method), data);
    }
    /// Ends one subscription of this object. Unknown identifiers are ignored.
    void RemoveCallback(ZALBaseUnknown* publisher, ZALCallback callback);
    /// Ends this object's subscriptions to `notificationClass` on `publisher` that were made with `data`.
    void RemoveCallbacksOn(ZALBaseUnknown* publisher, const char* notificationClass, void* data);
    /// Ends all of this object's subscriptions on `publisher`.
    void RemoveSubscriberCallbacks(ZALBaseUnknown* publisher);

    ZAL_DECLARE_META_CLASS
};

/// Calls the subscribers of `publisher` for the class of `notification`, in the order of subscription, and
/// returns when all have run. Subscribers may remove and add callbacks and destroy any object meanwhile:
/// what is removed is not called any more, what is added is called from the next dispatch on. A subscriber that is
/// released inside its own callback ends when that returns.
void DispatchCallbacks(ZALBaseUnknown* publisher, ZALNotification* notification);

/// Fills `subscribers` with those of `publisher` under exactly `notificationClass`. No references are added.
void ZALSysGetSubscribers(ZALBaseUnknown* publisher, const char* notificationClass,
                          std::vector<ZALBaseUnknown*>& subscribers);

// ---------------------------------------------------------------------------------------------
// Traces

/// A trace object of a module. The host switches it on and off by its name while it lives.
class ZALTrace {
public:
    /// Mode 0 writes each text at once. `output` is "STDERR" or a file; `size` is the length of the
    /// object's line buffer in bytes.
    ZALTrace(const char* name, const char* description, int mode, const char* output, int size);
    ZALTrace(const ZALTrace&) = delete;
    ZALTrace& operator=(const ZALTrace&) = delete;
    ~ZALTrace();
    /// Writes `text`. Callers test the activation first.
    void TraPut(const char* text);

    /// Points to a non-zero integer while the trace is on. May be null.
    const int* Activation = nullptr;

private:
    const char* name_;
};
