#pragma once
#ifdef __APPLE__
#include_next <dispatch/dispatch.h>
#else
// The dispatch library's interface, for where its own headers are not.
#include "../declared.h"

#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_QUEUE_SERIAL NULL
#define DISPATCH_SOURCE_TYPE_READ (&_dispatch_source_type_read)
#define DISPATCH_SOURCE_TYPE_TIMER (&_dispatch_source_type_timer)

@class NSObject;
@protocol OS_dispatch_object @end
@protocol OS_dispatch_queue <OS_dispatch_object> @end
@protocol OS_dispatch_queue_attr <OS_dispatch_object> @end
@protocol OS_dispatch_source <OS_dispatch_object> @end
typedef NSObject<OS_dispatch_object> *dispatch_object_t;
typedef NSObject<OS_dispatch_queue> *dispatch_queue_t;
typedef NSObject<OS_dispatch_queue_attr> *dispatch_queue_attr_t;
typedef NSObject<OS_dispatch_source> *dispatch_source_t;
typedef void (^dispatch_block_t)(void);
typedef void (*dispatch_function_t)(void *_Nullable context);
typedef uint64_t dispatch_time_t;
typedef const struct dispatch_source_type_s *dispatch_source_type_t;

NONNULL_BEGIN
DECLARED struct dispatch_queue_s _dispatch_main_q;
DECLARED const struct dispatch_source_type_s _dispatch_source_type_read;
DECLARED const struct dispatch_source_type_s _dispatch_source_type_timer;
static inline dispatch_queue_t dispatch_get_main_queue(void) { return (__bridge dispatch_queue_t)(void *)&_dispatch_main_q; }
DECLARED __attribute__((ns_returns_retained)) dispatch_queue_t dispatch_queue_create(const char *_Nullable label, dispatch_queue_attr_t _Nullable attributes);
DECLARED void dispatch_queue_set_specific(dispatch_queue_t queue, const void *key, void *_Nullable context, dispatch_function_t _Nullable destructor);
DECLARED void *_Nullable dispatch_get_specific(const void *key);
DECLARED void dispatch_async_f(dispatch_queue_t queue, void *_Nullable context, dispatch_function_t work);
DECLARED void dispatch_sync_f(dispatch_queue_t queue, void *_Nullable context, dispatch_function_t work);
DECLARED void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void *_Nullable context, dispatch_function_t work);
DECLARED dispatch_time_t dispatch_time(dispatch_time_t when, int64_t nanoseconds);
DECLARED __attribute__((ns_returns_retained)) dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle, uintptr_t mask, dispatch_queue_t _Nullable queue);
DECLARED void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t _Nullable handler);
DECLARED void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval, uint64_t leeway);
DECLARED void dispatch_source_cancel(dispatch_source_t source);
DECLARED void dispatch_activate(dispatch_object_t object) SINCE(10.12);
NONNULL_END
#endif
