/*
 * class_test.cpp - classes, subclasses, and instances found by their global name
 */
#include "zelkov/instance.h"

#include <gtest/gtest.h>
#include <string>

#include "zelkov/control.h"

TEST(RootClass, AnswersToItsName)
{
    zelkov_class_init();
    ASSERT_NE(zelkov_rootclass, nullptr);
    auto identify = classMethod<SLOT_IDENTIFY>(zelkov_rootclass);
    EXPECT_EQ(identify("ZELKOV"), 0x200U);
    EXPECT_EQ(identify(nullptr), 0x200U);
    EXPECT_EQ(identify("OTHER"), 0U);
}

TEST(Subclass, BeginsWithACopyOfTheRootsMethods)
{
    zelkov_class_init();
    ZelkovClass *cls = zelkov_generic_subclass(zelkov_rootclass, sizeof(ZelkovInstance) + 16, 64);
    ASSERT_NE(cls, nullptr);
    for (int slot = 0; slot < ZELKOV_METHOD_COUNT; slot++)
        EXPECT_EQ(cls->methods[slot], zelkov_rootclass->methods[slot]);
    overrideMethod<SLOT_NAME>(cls, [](ZelkovInstance *) { return "mine"; });
    ZelkovInstance *instance = zelkov_create_inst(cls);
    ASSERT_NE(instance, nullptr);
    EXPECT_STREQ(instanceMethod<SLOT_NAME>(instance)(instance), "mine");
    char buffer[32] = "";
    EXPECT_EQ(instanceMethod<SLOT_CLASS_NAME>(instance)(instance, buffer), 1);
    EXPECT_STREQ(buffer, "ZELKOV");
    zelkov_free_inst(instance);
    delete cls;
}

TEST(Subclass, AnImpossibleOneIsRefused)
{
    zelkov_class_init();
    EXPECT_EQ(zelkov_generic_subclass(nullptr, 100, 64), nullptr);
    EXPECT_EQ(zelkov_generic_subclass(zelkov_rootclass, 1, 64), nullptr);
    EXPECT_EQ(zelkov_generic_subclass(zelkov_rootclass, 100, 65), nullptr);
}

TEST(Subclass, AnInstanceWhoseInitFailsIsNotMade)
{
    zelkov_class_init();
    ZelkovClass *cls = zelkov_generic_subclass(zelkov_rootclass, sizeof(ZelkovInstance), 64);
    overrideMethod<SLOT_INIT>(cls, [](ZelkovInstance *) -> int32_t { return 5; });
    EXPECT_EQ(zelkov_create_inst(cls), nullptr);
    delete cls;
}

TEST(Registry, FindsARunningInstanceByNameClassAndNumber)
{
    EXPECT_EQ(load_zelkov_inst("ZELKOV_GBL_CONTROLLER", "Control", 0x30102, 1), nullptr);
    ZelkovInstance *controller = zelkov_create_inst(control_baseclass_init());
    zelkov_register_inst("ZELKOV_GBL_CONTROLLER", controller);
    EXPECT_EQ(load_zelkov_inst("ZELKOV_GBL_CONTROLLER", "Control", 0x30102, 1), controller);
    EXPECT_EQ(load_zelkov_inst("ZELKOV_GBL_CONTROLLER", "Control", 0x30101, 1), controller)
        << "an older version is enough";
    EXPECT_EQ(load_zelkov_inst("ZELKOV_GBL_CONTROLLER", "Control", 0x30103, 1), nullptr);
    EXPECT_EQ(load_zelkov_inst("ZELKOV_GBL_CONTROLLER", "Control", 0x40000, 1), nullptr);
    EXPECT_EQ(load_zelkov_inst("ZELKOV_GBL_CONTROLLER", "Window", 0x30102, 1), nullptr);
    zelkov_register_inst("ZELKOV_GBL_CONTROLLER", nullptr);
    EXPECT_EQ(load_zelkov_inst("ZELKOV_GBL_CONTROLLER", "Control", 0x30102, 1), nullptr);
    zelkov_free_inst(controller);
}
