// The scalar types of the language, their codes and widths, and the type of a value: scalar, pointer or void.
// Constant data; any thread.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace Vantor::gpc {

/// The numbers go into the bytecode (TypeCode operands); width and alignment follow from them.
enum class TypeCode : std::uint8_t { UInt8, Int8, UInt16, Int16, UInt32, Int32, Fix32 };

/// What a TypeCode operand says for a pointer, which the language has no scalar code for.
inline constexpr std::uint8_t kPointerTypeCode = 7;
inline constexpr std::uint32_t kPointerWidth = 2;

inline constexpr std::array<std::uint8_t, 7> kTypeWidths{1, 1, 2, 2, 4, 4, 4};

struct TypeName {
    std::string_view name;
    TypeCode code;
};
inline constexpr std::array<TypeName, 10> kTypeNames{{{"bool", TypeCode::UInt8},
                                                      {"uint8", TypeCode::UInt8},
                                                      {"char", TypeCode::Int8},
                                                      {"int8", TypeCode::Int8},
                                                      {"uint16", TypeCode::UInt16},
                                                      {"int", TypeCode::Int16},
                                                      {"int16", TypeCode::Int16},
                                                      {"uint32", TypeCode::UInt32},
                                                      {"int32", TypeCode::Int32},
                                                      {"fix32", TypeCode::Fix32}}};

/// What mixes with what: values of one class convert into each other by themselves, others only by a cast.
enum class TypeClass : std::uint8_t { Void, Integer, Fixed, Pointer };

struct Type {
    TypeCode code = TypeCode::Int16; ///< of the pointed-to value when `pointer` is set
    bool pointer = false;
    bool isVoid = false;

    friend constexpr bool operator==(const Type&, const Type&) = default;

    constexpr TypeClass typeClass() const {
        if (isVoid)
            return TypeClass::Void;
        if (pointer)
            return TypeClass::Pointer;
        return code == TypeCode::Fix32 ? TypeClass::Fixed : TypeClass::Integer;
    }
    constexpr bool isInteger() const { return typeClass() == TypeClass::Integer; }
    constexpr bool isFixed() const { return typeClass() == TypeClass::Fixed; }
    constexpr bool isUnsigned32() const { return isInteger() && code == TypeCode::UInt32; }
    /// Bytes that a variable of the type takes.
    constexpr std::uint32_t width() const {
        return pointer ? kPointerWidth : kTypeWidths[static_cast<std::size_t>(code)];
    }
    /// Bytes of what a pointer points to.
    constexpr std::uint32_t targetWidth() const { return kTypeWidths[static_cast<std::size_t>(code)]; }
    constexpr Type target() const { return {code, false, false}; }
    /// Type of the address of a variable of this type. There is one level of pointers: what holds a pointer
    /// counts as the 16-bit number that it is.
    constexpr Type addressType() const { return {pointer ? TypeCode::UInt16 : code, true, false}; }
};

inline constexpr Type kVoidType{TypeCode::Int16, false, true};
inline constexpr Type kInt16Type{TypeCode::Int16};
inline constexpr Type kInt32Type{TypeCode::Int32};
inline constexpr Type kUInt32Type{TypeCode::UInt32};
inline constexpr Type kFix32Type{TypeCode::Fix32};
inline constexpr Type kStringType{TypeCode::Int8, true};

} // namespace Vantor::gpc
