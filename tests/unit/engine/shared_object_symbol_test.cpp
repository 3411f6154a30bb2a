#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "engine/shared_library.h"
#include "faked_system.h"
#include "images.h"
#include "thrown_text.h"

namespace {

using hvq::util::get_shared_object_symbol;
using hvq::util::SharedLibraryHandle_t;
using testing::ElementsAre;
using testing::IsEmpty;

void Function() {}

class SharedObjectSymbol : public testing::Test {
 protected:
    SharedObjectSymbol() {
        m_system.files.Put(L"hvq.dll", images::Pe());
        m_system.modules.Put(m_system.Absolute("hvq.dll"), {{"hvqCreate", Function}});
        m_library = hvq::util::load_shared_object("hvq.dll", m_system.Seams());
        m_callsBefore = m_system.modules.Calls().size();
    }

    // The calls since the library is loaded.
    std::vector<std::string> Calls() const {
        std::vector<std::string> calls = m_system.modules.Calls();
        calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(m_callsBefore));
        return calls;
    }

    std::string Thrown(const char* name) {
        return ThrownBy([&] { return get_shared_object_symbol(m_library, name, m_system.Seams()); });
    }

    FakedSystem m_system;
    std::shared_ptr<SharedLibraryHandle_t> m_library;
    std::size_t m_callsBefore = 0;
};

TEST_F(SharedObjectSymbol, IsTheAddressOfTheName) {
    EXPECT_EQ(get_shared_object_symbol(m_library, "hvqCreate", m_system.Seams()), &Function);

    EXPECT_THAT(Calls(), ElementsAre("Symbol hvqCreate"));
}

TEST_F(SharedObjectSymbol, NeedsALibrary) {
    m_library.reset();

    EXPECT_EQ(Thrown("hvqCreate"), "shared_library_handle_object is empty. Please check load hvq step.");
    EXPECT_EQ(Thrown(nullptr), "shared_library_handle_object is empty. Please check load hvq step.");
}

TEST_F(SharedObjectSymbol, NeedsAName) {
    EXPECT_EQ(Thrown(nullptr), "symbol_name is null.");
    EXPECT_EQ(Thrown(""), "symbol_name is empty.");

    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SharedObjectSymbol, IsMissedWithTheSystemsNumber) {
    EXPECT_EQ(Thrown("hvqDestory"), "GetProcAddress cannot locate method 'hvqDestory': 127");

    EXPECT_THAT(Calls(), ElementsAre("Symbol hvqDestory", "LastError"));
}

TEST_F(SharedObjectSymbol, IsNotSoughtInAHandleOfAnotherType) {
    for (const std::int32_t type : {0, 2, -1}) {
        m_library->type = type;
        m_system.modules.SetLastError(6);

        EXPECT_EQ(Thrown("hvqCreate"), "GetProcAddress cannot locate method 'hvqCreate': 6");
    }

    EXPECT_THAT(Calls(), ElementsAre("LastError", "LastError", "LastError"));
}

}  // namespace
