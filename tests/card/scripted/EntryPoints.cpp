// SPDX-License-Identifier: MIT
// An entry point of every name, each a function of its own. Nobody calls them, so they are declared without
// their parameters, which takes the library's header out of this source.
#define ENTRY_POINT(name)                                                                                    \
    extern "C" unsigned long name();                                                                         \
    unsigned long name() {                                                                                   \
        return 0x54 + __COUNTER__;                                                                           \
    }

ENTRY_POINT(C_GetSlotList)
ENTRY_POINT(C_WaitForSlotEvent)
ENTRY_POINT(C_GetTokenInfo)
ENTRY_POINT(C_GetSlotInfo)
ENTRY_POINT(C_OpenSession)
ENTRY_POINT(C_CloseSession)
ENTRY_POINT(C_DigestInit)
ENTRY_POINT(C_DigestUpdate)
ENTRY_POINT(C_DigestFinal)
ENTRY_POINT(C_Login)
ENTRY_POINT(C_Logout)
ENTRY_POINT(C_FindObjectsInit)
ENTRY_POINT(C_FindObjects)
ENTRY_POINT(C_FindObjectsFinal)
ENTRY_POINT(C_SignInit)
ENTRY_POINT(C_Sign)
ENTRY_POINT(C_VerifyInit)
ENTRY_POINT(C_Verify)
ENTRY_POINT(C_GenerateKey)
ENTRY_POINT(C_EncryptInit)
ENTRY_POINT(C_EncryptUpdate)
ENTRY_POINT(C_Encrypt)
ENTRY_POINT(C_EncryptFinal)
ENTRY_POINT(C_WrapKey)
ENTRY_POINT(C_UnwrapKey)
ENTRY_POINT(C_DecryptInit)
ENTRY_POINT(C_DecryptUpdate)
ENTRY_POINT(C_Decrypt)
ENTRY_POINT(C_DecryptFinal)
ENTRY_POINT(C_GetAttributeValue)
ENTRY_POINT(C_DestroyObject)
ENTRY_POINT(C_CreateObject)
ENTRY_POINT(C_SetPIN)
ENTRY_POINT(C_SetAttributeValue)
ENTRY_POINT(C_SeedRandom)
ENTRY_POINT(C_GenerateRandom)
ENTRY_POINT(C_GetMechanismList)
ENTRY_POINT(C_GetMechanismInfo)
ENTRY_POINT(C_CardTransmit)
ENTRY_POINT(C_CardAttribute)
