#include <cxxabi.h>
#include <unwind.h>

#include <cstdint>
#include <typeinfo>

#include "objc/runtime/Runtime.h"

/// Objects are thrown as C++ exceptions of a type of their own. The clauses that catch them carry
/// types of these names, which the compiler asks for; they decide by the class of what was thrown.
namespace gnustep::libobjc {

/// Any object.
class __objc_id_type_info : public std::type_info {
 public:
  __objc_id_type_info();
  ~__objc_id_type_info() override;
  bool __is_pointer_p() const override;
  bool __do_catch(const std::type_info* thrown, void** object, unsigned outer) const override;
};

/// Objects of the class whose name is the type's.
class __objc_class_type_info : public std::type_info {
 public:
  __objc_class_type_info();
  ~__objc_class_type_info() override;
  bool __is_pointer_p() const override;
  bool __do_catch(const std::type_info* thrown, void** object, unsigned outer) const override;
};

}  // namespace gnustep::libobjc

extern "C" {
gnustep::libobjc::__objc_id_type_info __objc_id_type_info;
}

namespace gnustep::libobjc {

__objc_id_type_info::__objc_id_type_info() : std::type_info("id") {}
__objc_id_type_info::~__objc_id_type_info() = default;
bool __objc_id_type_info::__is_pointer_p() const { return true; }

bool __objc_id_type_info::__do_catch(const std::type_info* thrown, void**, unsigned) const {
  return thrown == &::__objc_id_type_info;
}

__objc_class_type_info::__objc_class_type_info() : std::type_info("class") {}
__objc_class_type_info::~__objc_class_type_info() = default;
bool __objc_class_type_info::__is_pointer_p() const { return true; }

bool __objc_class_type_info::__do_catch(const std::type_info* thrown, void** object,
                                        unsigned) const {
  using namespace vesk::objc;
  if (thrown != &::__objc_id_type_info) return false;
  return isKind(classOf(static_cast<Object*>(*object)), classNamed(name()));
}

}  // namespace gnustep::libobjc

using namespace vesk::objc;

extern "C" {

_Unwind_Reason_Code __gxx_personality_v0(int version, _Unwind_Action actions,
                                         _Unwind_Exception_Class kind, _Unwind_Exception* thrown,
                                         _Unwind_Context* context);

_Unwind_Reason_Code __gnustep_objcxx_personality_v0(int version, _Unwind_Action actions,
                                                    _Unwind_Exception_Class kind,
                                                    _Unwind_Exception* thrown,
                                                    _Unwind_Context* context) {
  return __gxx_personality_v0(version, actions, kind, thrown, context);
}

[[noreturn]] void objc_exception_throw(Object* object) {
  void* const thrown = abi::__cxa_allocate_exception(sizeof(Object*));
  *static_cast<Object**>(thrown) = retain(object);
  abi::__cxa_throw(thrown, &__objc_id_type_info,
                   [](void* ended) { release(*static_cast<Object**>(ended)); });
}
}
