/* Helpers of the platform seam: hexadecimal text and the calendar. No state, no blocking, any task.
 */
#ifndef ONU_MNG_PLATFORM_CUTIL_H
#define ONU_MNG_PLATFORM_CUTIL_H

#ifdef __cplusplus

/// Hexadecimal text, digits in either case.
class CUtil {
public:
    /// Stores the value (0 to 15) of one hexadecimal digit.
    /// @return 0; -1 for any other character or a null `nibble`: then nothing is stored.
    static int ConvertHexChar(char c, char* nibble);

    /// Converts hexadecimal text to bytes: two digits per byte, with or without a leading "0x" or "0X".
    ///
    /// `size` is the room at `bytes` on entry, and the number of bytes written on success.
    /// @return 0; -1 for a null argument, an odd number of digits, a character that is not a digit, or too
    ///         little room: `bytes` and `size` are then unchanged. Text without digits gives 0 bytes.
    static int CovertHexStringToBytes(const char* text, char* bytes, unsigned int* size);
};

extern "C" {
#endif

/* Stores the local date and time: the complete year; month and day from 1. Returns 0; -1 if a pointer is null
 * or the system has no time: the outputs are then unchanged. */
int getDateTime(unsigned short* year, unsigned char* month, unsigned char* day, unsigned char* hour,
                unsigned char* minute, unsigned char* second);

#ifdef __cplusplus
}
#endif

#endif
