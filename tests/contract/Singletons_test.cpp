// A second object of a class with one instance would have a state of its own beside the one that is locked.
#include <gtest/gtest.h>

#include <type_traits>

#include "CGetData.h"
#include "KURA_DBManager.h"
#include "KURA_DiagManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_KPISender.h"
#include "KURA_Storage.h"

template <typename... Classes>
constexpr bool kNoneIsCopied = ((!std::is_copy_constructible_v<Classes> &&
                                 !std::is_move_constructible_v<Classes> &&
                                 !std::is_copy_assignable_v<Classes> &&
                                 !std::is_move_assignable_v<Classes>)&&...);

TEST(Singletons, AreNeverCopied) {
    static_assert(kNoneIsCopied<KURA::CGetData, KURA::KURA_DiagManager, KURA::KURA_DiagResultManager,
                                KURA::KURA_KPISender, KURA::TCInformationStorage, TCDBManager>);
}
