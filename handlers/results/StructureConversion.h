#pragma once

#include <boost/hana/for_each.hpp>
#include <boost/hana/integral_constant.hpp>
#include <boost/hana/length.hpp>
#include <boost/hana/range.hpp>
#include <cstddef>
#include <type_traits>

#include "Core/src/StructureFields.h"

namespace Weftline::DataModel {

/// The same values in another described structure: the first field from the first field, and so on. Members
/// that are structures are converted in turn; a value may become an optional, which then has it.
template <DescribedStructure Target, DescribedStructure Source>
Target ConvertStructure(const Source& source);

template <class Target, class Source>
void ConvertMember(const Source& source, Target& target) {
    if constexpr (std::is_same_v<Source, Target>) {
        target = source;
    } else if constexpr (DescribedStructure<Target>) {
        target = ConvertStructure<Target>(source);
    } else {
        ConvertMember(source, target.emplace());
    }
}

template <DescribedStructure Target, DescribedStructure Source>
Target ConvertStructure(const Source& source) {
    namespace hana = boost::hana;
    using To = StructureFields<Target>;
    using From = StructureFields<Source>;
    constexpr std::size_t kCount = decltype(hana::length(To::kFields.fields))::value;
    static_assert(kCount == decltype(hana::length(From::kFields.fields))::value);

    Target target;
    hana::for_each(hana::make_range(hana::size_c<0>, hana::size_c<kCount>), [&](auto place) {
        ConvertMember(source.*From::kFields.fields[place].pMember, target.*To::kFields.fields[place].pMember);
    });
    return target;
}

}  // namespace Weftline::DataModel
