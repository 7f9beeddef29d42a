#include "tests/gpc/differential/random_declarations.h"

namespace Vantor::gpc::differential {

void RandomDeclarations::declareGlobals() {
    const int count = 3 + below(7);
    for (int i = 0; i < count; ++i) {
        Variable v;
        v.name = "g" + std::to_string(i);
        // The first one is always there to be assigned to.
        v.type = i == 0 ? integerScalar() : anyScalar();
        v.length = chance(30) ? 1 << (1 + below(3)) : 0;
        v.place = i > 0 && chance(12) ? Variable::Place::ConstGlobal : Variable::Place::Global;
        if (v.place == Variable::Place::ConstGlobal || chance(60)) {
            const int values = std::max(v.length, 1);
            for (int k = 0; k < values; ++k) {
                v.initial.push_back(fit(interestingWord(), v.type));
            }
        }
        program.globals.push_back(addVariable(std::move(v)));
    }
    visible = program.globals;
    for (int i = 0; i < 2; ++i) {
        declarePointer("q" + std::to_string(i));
    }
    visible = program.globals;
}

void RandomDeclarations::declarePointer(const std::string& name) {
    const Scalar type = anyScalar();
    const auto pointee =
        pickVariable([&](const Variable& v) { return v.type == type && !v.isConst() && !v.isPointer(); });
    if (pointee) {
        Variable v;
        v.name = name;
        v.type = type;
        v.place = Variable::Place::PointerGlobal;
        v.pointee = *pointee;
        program.globals.push_back(addVariable(std::move(v)));
    }
}

void RandomDeclarations::declareLocals(const std::string& prefix) {
    using enum Variable::Place;
    static constexpr std::array kLocalPlaces{Local, Local, Local, Local, Local, StaticLocal, ConstLocal};
    const int count = below(5);
    for (int i = 0; i < count; ++i) {
        Variable v;
        v.name = prefix + "l" + std::to_string(i);
        v.type = anyScalar();
        v.place = pick(kLocalPlaces);
        v.length = chance(20) ? 1 << (1 + below(2)) : 0;
        if (v.isConst() || chance(60)) {
            const int values = std::max(v.length, 1);
            for (int k = 0; k < values; ++k) {
                v.initial.push_back(fit(interestingWord(), v.type));
            }
        }
        const int index = addVariable(std::move(v));
        current->locals.push_back(index);
        visible.push_back(index);
    }
    counters.clear();
    for (int i = 0; i < 3; ++i) {
        static constexpr std::array<Scalar, 4> kCounterTypes{Scalar::uint8, Scalar::int16, Scalar::uint32,
                                                             Scalar::int32};
        Variable v;
        v.name = prefix + "i" + std::to_string(i);
        v.type = pick(kCounterTypes);
        v.place = Variable::Place::Local;
        v.counter = true;
        const int index = addVariable(std::move(v));
        current->locals.push_back(index);
        counters.push_back(index);
        visible.push_back(index);
    }
}

} // namespace Vantor::gpc::differential
