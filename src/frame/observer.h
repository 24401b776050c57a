// The observer interface of every service and of the host's watch list.
#pragma once

/// A view that receives records of type `T`. The view belongs to the host: whoever it is attached to holds a
/// bare pointer, never deletes it, and must be told with `Detach` before it goes.
///
/// `Update` runs on the thread that brought the data: a thread of the host's network library or of its task
/// pool, a polling thread, or the caller of `Attach`, `Resume`, `Refresh` or `SetTarget`; each service says
/// which. It may run on two threads at once for two services, and for one service when data is handed over
/// inside `Resume` or `SetTarget`. It must return soon, must not throw, and must not call back into the
/// service that calls it.
template <class T>
class IUpdate1 {
 public:
  /// New data. They belong to the caller and are valid during the call only.
  virtual void Update(const T& data) = 0;

 protected:
  ~IUpdate1() = default;
};
