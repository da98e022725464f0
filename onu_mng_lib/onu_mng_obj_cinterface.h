/* Serial numbers and MAC addresses as text. No state, no blocking, any task. Nothing is logged.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_OBJ_CINTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_OBJ_CINTERFACE_H

#ifdef __cplusplus
extern "C" {
#endif

/* The bytes of a serial number: 4 characters of the vendor id, then the vendor's number, most significant
 * byte first. */
#define ONU_MNG_SN_SIZE 8
/* The bytes of a MAC address. */
#define ONU_MNG_MAC_SIZE 6

/* Converts a text to bytes at `out`. If the fifth character is a hyphen, the text is a serial number
 * ("KVXQ-12345678", exactly 13 characters) and gives 8 bytes. Otherwise it is a MAC address (12 hexadecimal
 * digits; what follows is not read) and gives 6 bytes. Digits may have either case.
 * Returns 0; 0x800001f9 if an argument is null; 0x800001f6 if the text is malformed: the bytes at `out` are
 * then undefined. */
unsigned int onu_mng_convert_sn_or_mac_format(unsigned char* text, unsigned char* out);

/* Returns the vendor's number: bytes 4 to 7 of an 8-byte serial number; 0 for null. */
unsigned long long onu_mng_get_vendor_specific_by_mac(unsigned char* sn);

#ifdef __cplusplus
}
#endif

#endif
