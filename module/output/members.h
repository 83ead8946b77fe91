// What a file shows of a record: rows of keys, members and forms in place of one call for each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "module/output/code_names.h"
#include "module/output/packed_rows.h"

namespace qo1905 {

// How a member is printed.
enum class Form : std::uint8_t {
    kNumber,
    kSigned,       // of two bytes
    kFlag,         // true when it is 1, else false
    kText,         // somebody else's, in quotes
    kReplaceable,  // the same, unless the field behind it, of the same size, is not empty: that replaces it
    kTextNumber,   // the number that a text field begins with, 0 when it begins with none
    kMac,
    kFixed,  // see fixed_row
    kCode,   // the name of a code, plus its CodeTable
};

template <class T>
constexpr Form form_of() {
    if constexpr (std::is_array_v<T>) {
        return std::is_same_v<std::remove_extent_t<T>, char> ? Form::kText : Form::kMac;
    } else {
        static_assert(std::is_integral_v<T> && (std::is_signed_v<T> ? sizeof(T) == 2 : sizeof(T) <= 4));
        return std::is_signed_v<T> ? Form::kSigned : Form::kNumber;
    }
}

// A row of a member: its form and size, its number is where the member stands in the record.
template <class T>
constexpr Row member_row(Text key, std::size_t offset, Form form = form_of<T>()) {
    static_assert(sizeof(T) <= UINT8_MAX);
    return {key, static_cast<std::uint8_t>(form), sizeof(T), static_cast<std::uint16_t>(offset)};
}

template <class T>
constexpr Row member_row(Text key, std::size_t offset, CodeTable table) {
    static_assert(std::is_unsigned_v<T>);
    return {key, static_cast<std::uint8_t>(static_cast<int>(Form::kCode) + static_cast<int>(table)), sizeof(T),
            static_cast<std::uint16_t>(offset)};
}

// No member: the row itself has the key, of `size` bytes, and the value behind an equals sign.
constexpr Row fixed_row(Text key_and_value) {
    return {key_and_value, static_cast<std::uint8_t>(Form::kFixed), static_cast<std::uint8_t>(key_and_value.find('=')),
            0};
}

// {key, record.field}, printed as its type says, or in another form or by the name of its code.
// NOLINTNEXTLINE(bugprone-macro-parentheses): a type
#define QO1905_TYPE_OF(record, field) decltype(std::declval<record &>().field)
#define QO1905_MEMBER(key, record, field) member_row<QO1905_TYPE_OF(record, field)>(key, offsetof(record, field))
#define QO1905_MEMBER_AS(key, record, field, form_or_table) \
    member_row<QO1905_TYPE_OF(record, field)>(key, offsetof(record, field), form_or_table)

}  // namespace qo1905
