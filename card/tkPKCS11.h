// SPDX-License-Identifier: MIT
#ifndef ORSEL_CARD_TKPKCS11_H
#define ORSEL_CARD_TKPKCS11_H

#include "card/CardTypes.h"
#include "formats/KeyTypes.h"
#include "formats/parseKey.h"

#include <p11-kit/pkcs11.h>

#include <string>
#include <vector>

namespace Velmor {

class ObjectTemplate;
class Personenbindung;
class slCertificate;
struct FoundObjects;

/// Vendor entry point: reads a named card property. *outLen is the capacity of out on entry and the length
/// of the value on return.
using CK_C_CardAttribute = CK_RV (*)(CK_SESSION_HANDLE session, const char* name, unsigned char* out,
                                     unsigned long* outLen);

/// Vendor entry point: sends one command APDU; the response ends with its status word. *responseLen as above.
using CK_C_CardTransmit = CK_RV (*)(CK_SESSION_HANDLE session, const unsigned char* apdu,
                                    unsigned long apduLen, unsigned char* response,
                                    unsigned long* responseLen);

/// All contact with smart cards: loads the token library libOrselP11.so, lists the tokens that are present,
/// holds one session at a time and works on the card in it.
///
/// Failures are a false, empty or negative result plus a message through tkPKCS11Logging. No operation throws
/// by itself but one: SendAPDU_HEX lets through what its conversion throws. The object has no lock: its users
/// keep out of each other's way. The function table and the flag beside it are shared by all objects of the
/// process.
class tkPKCS11 {
public:
    /// Tries Init and ignores its outcome: without a library every operation fails quietly.
    tkPKCS11();
    /// Does not call Destroy: the owner does, before.
    virtual ~tkPKCS11();

    // The object owns slot records and certificates through raw pointers that it hands out.
    tkPKCS11(const tkPKCS11&) = delete;
    tkPKCS11& operator=(const tkPKCS11&) = delete;

    // --- Binding -------------------------------------------------------------------------------------------

    /// Loads the token library, resolves its entry points and initialises it. True when the library is
    /// bound, also when another object has bound it before (this one then owns no library handle). A failed
    /// attempt may be repeated.
    bool Init();
    bool init();

    /// Finalises and unloads the library if this object loaded it, however often Init has failed in between.
    /// Always true.
    bool Destroy();
    bool destroy();

    // --- Slots and tokens ----------------------------------------------------------------------------------

    /// Lists the tokens in removable devices, in the library's order, at most 128. The records stay owned by
    /// this object and die at the next GetSlots or DeleteSlots. withEmptyCards also lists tokens whose serial
    /// is all zeros. A token that cannot be queried is left out. On failure the list is empty.
    bool GetSlots(std::vector<SlotStruct*>& slots, bool withEmptyCards);
    bool GetSlots(std::vector<SlotStruct*>& slots);

    /// Frees the slot records.
    void DeleteSlots();

    /// Token information by position in the library's list of present tokens, asked afresh. This position
    /// agrees with the one in GetSlots only while GetSlots left no token out. On failure info is untouched.
    bool GetTokenInfo(unsigned long index, TokenInfoStruct& info);

    /// The same with the classification by model and label. A token that no rule recognises succeeds too and
    /// leaves the key and type fields of info as they were.
    bool GetTokenInfo(unsigned long index, TokenInfoStruct2& info);

    // --- Sessions ------------------------------------------------------------------------------------------

    /// Opens a read-only session on a record of the last GetSlots. The flag has no effect, and a
    /// session that is open already is not closed: callers close theirs.
    bool OpenSession(int index, bool readWrite);
    bool OpenSessionWithVectorIndex(int index, bool readWrite);

    /// Opens a session by slot id; readWrite closes the current session first and opens a read/write one. A
    /// failed open leaves no session.
    bool OpenSessionWithSlotId(int slotId, bool readWrite);

    /// Closes the current session; always true. The handle keeps its value, so that operations still take a
    /// session to be open until the next failed open. Does not log out.
    bool CloseSession();

    // --- Objects -------------------------------------------------------------------------------------------

    /// Searches the card once for at most maxHandles objects; more is a failure. True also for no match.
    bool FindObjects(CK_ATTRIBUTE* tmpl, unsigned long count, unsigned long* handles,
                     unsigned long maxHandles, unsigned long* found);

    /// The same for at most ten objects.
    bool Search(ObjectTemplate& wanted, FoundObjects& found);

    /// Finds one object by class (CKO_...) and label. False when there is none.
    bool FindObject(const char* label, unsigned long objectClass, unsigned long* handle);

    // --- Certificates of the card --------------------------------------------------------------------------

    /// Loads the signature ("C.CH.SIG") or the encryption certificate ("C.CH.EKEY") of the card in the open
    /// session into this object, where it stays until the next load. False when there is none that can be
    /// parsed; what an earlier load filled in then stays.
    bool LoadSigningCertificate(bool sigCert);

    /// Object handle of the certificate, 0 when there is none. Searches wider than the load does.
    unsigned long getSigningCertificateHandle(bool sigCert);

    /// DER of the loaded certificate; always true. A null out asks for the size; otherwise out must have room
    /// for 5012 bytes.
    bool GetSigningCertificate(unsigned char* out, unsigned long& len) const;
    bool GetSigningCertificate(std::vector<unsigned char>& out) const;

    /// Loads a certificate of the card in the open session, respectively of the card with this index, whose
    /// session it opens and closes.
    bool GetCertificate(bool sigCert, slCertificate& cert);
    bool GetCertificate(unsigned long slot, bool sigCert, slCertificate& cert);

    /// Collects all certificates of all cards, at most ten a card. False when there is no card or a card that
    /// opened could not be read; a card that does not open does not count.
    bool LoadAllCerts();
    bool loadAllCertsInSession();

    /// Deletes the collected certificates.
    void ClearCertVector();
    std::vector<slCertificate*>::iterator CertVectorBegin();
    std::vector<slCertificate*>::iterator CertVectorEnd();

    // Of the loaded certificate.
    std::string GetSubject() const;
    std::string GetSubjectCN() const;
    std::string GetIssuer() const;
    std::string GetSerialNumber() const;
    /// The serial number read as hexadecimal, saturated.
    long GetSerialNumberInt() const;
    /// The SHA-1 thumbprint, binary.
    void GetFingerprint(HashAlgorithm& algo, std::vector<unsigned char>& out) const;
    /// Owned by this object.
    PublicKeyData* GetPublicKeyData();

    // --- Signatures ----------------------------------------------------------------------------------------
    // A session must be open, except where one is said to be opened. C_Sign blocks in the PIN dialog.

    /// The CKM_ mechanism of a CKK_ key type and a hash; -1 as unsigned when there is none.
    unsigned long KeyAndHashAlgoToMechanism(unsigned long keyType, HashAlgorithm hash);

    /// Hashes len bytes into out; digestInfo puts the PKCS#1 DigestInfo prefix in front where there is one.
    bool hashString(unsigned char* data, unsigned long len, std::vector<unsigned char>& out,
                    HashAlgorithm hash, bool digestInfo);

    /// Signs with the signature key (sigKey) or the encryption key and SHA-1. outLen is the capacity of out
    /// on entry and the signature's length on return.
    bool signString(unsigned char* in, unsigned long inLen, unsigned char* out, unsigned long& outLen,
                    bool sigKey);
    bool signString(char* in, unsigned long inLen, unsigned char* out, unsigned long& outLen, bool sigKey);

    /// The same with a hash, made here where the card cannot; data that goes to the card unhashed has at most
    /// 2048 bytes. key receives the key's kind.
    bool signString(unsigned char* in, unsigned long inLen, unsigned char* out, unsigned long& outLen,
                    SignKey& key, bool sigKey, HashAlgorithm hash);
    bool signString(unsigned char* in, unsigned long inLen, unsigned char* out, unsigned long& outLen,
                    bool sigKey, HashAlgorithm hash);

    /// Signs with the first private key whose label begins with this one, and appends the signature.
    /// HASH_RAW takes the data as a finished hash; without a hash it is SHA-1.
    bool Sign(const std::string& label, const std::vector<unsigned char>& data,
              std::vector<unsigned char>& signature, HashAlgorithm hash);
    bool Sign(const std::string& label, const std::vector<unsigned char>& data,
              std::vector<unsigned char>& signature);

    /// Verifies with the public key of exactly this label; the signature comes before the data. A wrong
    /// signature and a failing card are both false.
    bool Verify(const std::string& label, const std::vector<unsigned char>& signature,
                std::vector<unsigned char>& data, HashAlgorithm hash);
    bool Verify(const std::string& label, const std::vector<unsigned char>& signature,
                std::vector<unsigned char>& data);

    /// Signs with SHA-1 on the card that holds the certificate with this thumbprint, which cert receives.
    /// Opens and closes its own sessions.
    bool Sign(const std::wstring& thumbprint, const std::vector<unsigned char>& data, slCertificate& cert,
              std::vector<unsigned char>& signature);
    /// Certificate by thumbprint and label of its key, in the open session.
    bool findCertAndKey(const std::wstring& thumbprint, slCertificate& cert, std::string& label);
    /// Label of the one private key with this CKA_ID; false for none, an empty one, or several keys.
    bool findPrivateKeyFromID(const std::string& id, std::string& label);

    /// Kind of a key. Without such a key true, and key unchanged.
    bool GetSignKeyType(SignKey& key, bool sigKey);
    /// The hash that this card's signature needs.
    HashAlgorithm GetHashAlgorithm(SignKey key);

    // --- Identification ------------------------------------------------------------------------------------

    /// ATR as upper-case hexadecimal text, empty on failure. Unless forced, a cached one is returned, which
    /// outlives sessions and changes of card.
    std::string ReadATR(bool force);

    /// Replaces the cached ATR by the text of these bytes; none empties it.
    void SetAtr(unsigned char* atr, unsigned long len);

    /// True when atr begins with prefix; case matters.
    static bool AtrCmp(std::string atr, std::string prefix);

    /// Resets the card. The new ATR as ReadATR gives it, empty on failure.
    std::string Reset();

    /// Tells the card type by its ATR, which may be a cached one. True when the ATR is known.
    bool LoadCardType();

    /// The card type (CardType), loaded anew while it is unknown.
    int GetCardType();

    // Tests of the loaded card type; they load nothing.
    bool IsAcos() const;
    bool IsCardOS() const;
    bool IsECard() const;

    /// Fills four integers with the version of the installed client software, major first; zeros without one.
    void LoadOrselClientVersion(int* version);

    /// The same, read anew, as "%d.%d.%d.%d".
    std::string GetOrselClientVersion();

    /// True when the client software can force a software PIN. Each field of the version counts by itself,
    /// so this is no ordering of versions. The spelling of the name is part of the interface.
    bool ClientSupportForceSofwarePin();

    // --- PINs ----------------------------------------------------------------------------------------------
    // A session must be open. The token library runs the PIN dialog; these calls block until it is done.

    PKCS11Return ChangePIN(ApplType appl);
    PKCS11Return UnblockPIN(ApplType appl);

    /// First-time initialisation of the signature PIN of an ACOS card; a plain change in all other cases.
    PKCS11Return InitPIN(ApplType appl);

    /// Writes a command attribute to the object that the PIN protects.
    PKCS11Return GenericPINCommand(ApplType appl, unsigned long attribute);

    /// The same with the attribute's value and the wish for a PIN dialog on the screen. Logs nothing and
    /// tells results differently: a wrong PIN as P11_PIN_LOCKED, all other failures as P11_PIN_INCORRECT.
    PKCS11Return GenericPINCommand(ApplType appl, unsigned long attribute, bool value, bool forceSoftwarePin);

    /// State of a PIN and tries left (-1: unknown), on e-cards whose type is loaded. 0 on success, -2 when
    /// the library has no such query, else -1. Look at the result first: a failed query reads as blocked.
    int GetPINStatus(ApplType appl, PINState& state, int& tries);

    // --- Raw commands and card numbers ---------------------------------------------------------------------

    /// Sends one command APDU and appends the response with its status word, at most 4096 bytes. The status
    /// word is not looked at: a response that tells of an error is a success here.
    bool SendAPDU(std::vector<unsigned char> apdu, std::vector<unsigned char>& response);

    /// The same over buffers. responseLen is the capacity on entry and the length copied on return; a longer
    /// response is cut. On failure it is unchanged.
    bool SendAPDU(unsigned char* apdu, unsigned long apduLen, unsigned char* response,
                  unsigned long& responseLen);

    /// The same in hexadecimal text. Throws std::out_of_range for text of odd length.
    bool SendAPDU_HEX(std::string apduHex, std::string& responseHex);

    /// The card's number from its file system: 16 hexadecimal digits. Reads ATR and card type anew.
    bool GetCinCsn(std::string& cin);

    /// The chip's number: 8 bytes on ACOS, 12 on CardOS cards, none on others. The card type must be loaded.
    bool GetChipId(std::vector<unsigned char>& id);
    /// The same as upper-case hexadecimal text; untouched on failure.
    bool GetChipId(std::string& id);

    /// Opens a session on the card with this chip number. Loads no card type: the caller sees to it that the
    /// type is known.
    bool OpenSessionWithChipId(std::string chipId, bool closeFirst);

    /// Index of the card whose serial is this number, or begins with it if it has 12 characters; else -1.
    int findSlotForCin(const std::string& cin);

    /// Opens a session on that card. One that is open already is not closed.
    bool OpenGlobalSession(const std::string& cin);

    // --- Card data and updates -----------------------------------------------------------------------------

    /// Health insurance properties as raw bytes, on e-cards; len is the capacity of out on entry and the
    /// length on return, as the library tells it also when this fails. A null out asks for the length, and so
    /// does a capacity of 0, whatever out is.
    bool ReadEHIC(unsigned char* out, unsigned long& len);
    bool ReadGrunddaten(unsigned char* out, unsigned long& len);

    /// The card's identity link, in the open session.
    bool ReadPers(Personenbindung* pers);

    /// Writes a new identity link (128 to 3072 bytes, an ASN.1 SEQUENCE) to the card with this number. error
    /// is written on failure only: a German text for the user.
    bool UpdatePersonenbindung(const std::string& cin, const std::vector<unsigned char>& data,
                               std::string& error);

    /// Replaces a certificate of the card with this number by one for the same key. A card that does not open
    /// counts as a success, with error empty: its log line alone tells of it.
    bool UpdateCertificate(const std::string& cin, const std::vector<unsigned char>& cert, bool sigCert,
                           std::string& error);
    bool updateCertInSession(const std::vector<unsigned char>& cert, bool sigCert, std::string& error);

    // --- The token library's entry points, null until resolved ---------------------------------------------

    static CK_C_Initialize Proc_C_Initialize;
    static CK_C_GetSlotList Proc_C_GetSlotList;
    static CK_C_WaitForSlotEvent Proc_C_WaitForSlotEvent;
    static CK_C_GetTokenInfo Proc_C_GetTokenInfo;
    static CK_C_GetSlotInfo Proc_C_GetSlotInfo;
    static CK_C_OpenSession Proc_C_OpenSession;
    static CK_C_CloseSession Proc_C_CloseSession;
    static CK_C_DigestInit Proc_C_DigestInit;
    static CK_C_DigestUpdate Proc_C_DigestUpdate;
    static CK_C_DigestFinal Proc_C_DigestFinal;
    static CK_C_Login Proc_C_Login;
    static CK_C_Logout Proc_C_Logout;
    static CK_C_FindObjectsInit Proc_C_FindObjectsInit;
    static CK_C_FindObjects Proc_C_FindObjects;
    static CK_C_FindObjectsFinal Proc_C_FindObjectsFinal;
    static CK_C_SignInit Proc_C_SignInit;
    static CK_C_Sign Proc_C_Sign;
    static CK_C_VerifyInit Proc_C_VerifyInit;
    static CK_C_Verify Proc_C_Verify;
    static CK_C_GenerateKey Proc_C_GenerateKey;
    static CK_C_EncryptInit Proc_C_EncryptInit;
    static CK_C_EncryptUpdate Proc_C_EncryptUpdate;
    static CK_C_Encrypt Proc_C_Encrypt;
    static CK_C_EncryptFinal Proc_C_EncryptFinal;
    static CK_C_WrapKey Proc_C_WrapKey;
    static CK_C_UnwrapKey Proc_C_UnwrapKey;
    static CK_C_DecryptInit Proc_C_DecryptInit;
    static CK_C_DecryptUpdate Proc_C_DecryptUpdate;
    static CK_C_Decrypt Proc_C_Decrypt;
    static CK_C_DecryptFinal Proc_C_DecryptFinal;
    static CK_C_GetAttributeValue Proc_C_GetAttributeValue;
    static CK_C_DestroyObject Proc_C_DestroyObject;
    static CK_C_CreateObject Proc_C_CreateObject;
    static CK_C_SetPIN Proc_C_SetPIN;
    static CK_C_SetAttributeValue Proc_C_SetAttributeValue;
    static CK_C_GetInfo Proc_C_GetInfo;
    static CK_C_Finalize Proc_C_Finalize;
    static CK_C_SeedRandom Proc_C_SeedRandom;
    static CK_C_GenerateRandom Proc_C_GenerateRandom;
    static CK_C_GetMechanismList Proc_C_GetMechanismList;
    static CK_C_GetMechanismInfo Proc_C_GetMechanismInfo;
    static CK_C_CardTransmit Proc_C_CardTransmit;
    static CK_C_CardAttribute Proc_C_CardAttribute;

protected:
    /// True once Init has run to its end; cleared by Destroy.
    static bool m_bInitialized;

    std::vector<SlotStruct*> m_Slots; ///< owned

public:
    /// The current session; 0 when none was opened or the last open failed. Public for the dialogs that
    /// read and write objects themselves.
    CK_SESSION_HANDLE m_hSession = 0;

protected:
    void* m_hLibrary = nullptr;
    std::string m_Manufacturer;
    std::string m_Description;
    std::string m_Version;
    std::string m_Subject;
    std::string m_SubjectCN;
    std::string m_Atr; ///< upper-case hexadecimal text; outlives the session it was read in
    std::vector<unsigned char> m_SigningCert;
    std::vector<slCertificate*> m_CertVector; ///< owned
    int m_CardType = CARD_UNKNOWN;
    int m_SlotIndex = -1; ///< index into m_Slots of the slot of the session
    int m_ClientVersion[4] = {};
    std::vector<unsigned char> m_Fingerprint;
    std::string m_SerialNumber;
    std::string m_Issuer;
    PublicKeyData m_PublicKey;

private:
    bool RequireSession();
    bool TakeCertificateApart();
    bool SearchClass(CK_OBJECT_CLASS objectClass, FoundObjects& found, const char* failure);
    bool ReadProperty(const char* name, const char* failure, unsigned char* out, unsigned long& len);
    bool UpdateIdentityLinkInSession(const std::vector<unsigned char>& data, std::string& error);
    bool LogOut(bool result);
    bool FindProtectedObject(ApplType appl, unsigned long* handle);
    bool ReadCardFile(const std::vector<unsigned char>& selectDirectory,
                      const std::vector<unsigned char>& selectFile, std::vector<unsigned char>& content);
    bool LoadLibraryFile();
    void ResolveEntryPoints();
    void ReadLibraryInfo(const CK_INFO& info);
    void AppendSlot(CK_SLOT_ID slotId, bool withEmptyCards);
    bool OpenSessionOnSlot(CK_SLOT_ID slotId, bool readWrite);
    int AcosGeneration();
    CK_RV ReadCardAttribute(const char* name, std::vector<unsigned char>& value);
};

} // namespace Velmor

#endif
