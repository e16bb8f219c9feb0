// The qualified class name of an object.
#ifndef OSUPT_PLATFORM_TYPE_NAME_H
#define OSUPT_PLATFORM_TYPE_NAME_H

#include <string>
#include <typeinfo>

namespace OrvoSupport::platform {

/// The name of a class as readable text: a keyword ("class" or "struct"), a blank, the qualified name, as in
/// "class OrvoSupport::OrvoThread".
std::string typeName(const std::type_info& type);

}  // namespace OrvoSupport::platform

#endif
