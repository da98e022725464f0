/* Host helpers of the platform seam: hexadecimal text and the calendar. No state, no blocking, any task.
 */
#ifndef ONU_MNG_PLATFORM_CUTIL_H
#define ONU_MNG_PLATFORM_CUTIL_H

#ifdef __cplusplus

/// Hexadecimal text, digits in either case.
class CUtil {
public:
    /// Stores the value (0 to 15) of one hexadecimal digit.
    /// @return 0; -1 for any other character or a null `nibble`, which is then left alone.
    static int ConvertHexChar(char c, char* nibble);

    /// Converts text of two digits a byte, with or without a leading "0x" or "0X", into bytes.
    ///
    /// `size` is the room at `bytes` on entry and the number of bytes produced on success.
    /// @return 0; -1 for a null argument, an odd number of digits, a character that is no digit or too little
    ///         room: `bytes` and `size` are then left alone. No digits give 0 bytes.
    static int CovertHexStringToBytes(const char* text, char* bytes, unsigned int* size);
};

extern "C" {
#endif

/* Stores the local date and time: the year in full, month and day from 1. Returns 0; -1 for a null pointer or
 * when the system has no time, with the outputs left alone. */
int getDateTime(unsigned short* year, unsigned char* month, unsigned char* day, unsigned char* hour,
                unsigned char* minute, unsigned char* second);

#ifdef __cplusplus
}
#endif

#endif
