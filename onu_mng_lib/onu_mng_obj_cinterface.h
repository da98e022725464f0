/* The text forms of an ONU's identity. No state, no blocking, any task; nothing is logged.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_OBJ_CINTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_OBJ_CINTERFACE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes of a serial number: 4 vendor-id characters, then the vendor's number, most significant byte first. */
#define ONU_MNG_SN_SIZE 8
/* Bytes of a MAC address. */
#define ONU_MNG_MAC_SIZE 6

/* Converts a serial number ("KVXQ-12345678", exactly 13 characters) into 8 bytes at `out`, or a MAC address
 * (12 hexadecimal digits; what follows is not read) into 6. A fifth character that is a hyphen makes it a
 * serial number. Digits may have either case. Returns 0; 0x800001f9 when an argument is null; 0x800001f6 when
 * the text is malformed: what `out` holds is then undefined. */
unsigned int onu_mng_convert_sn_or_mac_format(unsigned char* text, unsigned char* out);

/* Returns the vendor's number in bytes 4 to 7 of an 8-byte serial number; 0 for null. */
unsigned long long onu_mng_get_vendor_specific_by_mac(unsigned char* sn);

#ifdef __cplusplus
}
#endif

#endif
