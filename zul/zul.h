// Umbrella header: includes every public header of zul.
#pragma once

#include <zul/base/alloc.h>
#include <zul/base/api.h>
#include <zul/base/base64.h>
#include <zul/base/base_type_auto.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_string.h>
#include <zul/base/base_type_wstring.h>
#include <zul/base/exception.h>
#include <zul/base/mlcheck.h>
#include <zul/base/noncopyable.h>
#include <zul/base/raise.h>
#include <zul/log/log_tracer.h>
#include <zul/platform/bounds_checked.h>
#include <zul/pml/ntv_listvalue.h>
#include <zul/pml/ntv_stringvalue.h>
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml.h>
#include <zul/util/singleton_T.h>
#include <zul/util/util_func.h>
