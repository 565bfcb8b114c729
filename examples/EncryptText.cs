// Cifra's four functions from C# (P/Invoke). Cifra.dll must be beside the program, and both must be
// for the same processor.
using System;
using System.ComponentModel;
using System.Runtime.InteropServices;
using System.Text;

public static class Cifra
{
    // UTF-8 text is passed as bytes with a terminator: .NET's own narrow strings are ANSI.
    [DllImport("Cifra.dll", CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
    private static extern uint BlowfishAndBase64Encode(byte[] text, byte[] key, byte[] destination, int destinationSize);

    [DllImport("Cifra.dll", CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
    private static extern uint Base64AndBlowfishDecode(byte[] text, byte[] key, byte[] destination, int destinationSize);

    [DllImport("Cifra.dll", CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
    private static extern uint CalculateTextMd5(byte[] text, byte[] output);

    [DllImport("Cifra.dll", CallingConvention = CallingConvention.Cdecl, ExactSpelling = true, CharSet = CharSet.Unicode)]
    private static extern uint CalculateWideCharTextMd5(string text, byte[] output);

    public static string Encrypt(string text, string key)
    {
        byte[] output = new byte[1100];
        return Text(BlowfishAndBase64Encode(Utf8(text), Utf8(key), output, output.Length), output);
    }

    public static string Decrypt(string text, string key)
    {
        byte[] output = new byte[4096];
        return Text(Base64AndBlowfishDecode(Utf8(text), Utf8(key), output, output.Length), output);
    }

    public static string Md5OfUtf8(string text)
    {
        byte[] output = new byte[33];
        return Text(CalculateTextMd5(Utf8(text), output), output);
    }

    public static string Md5(string text)
    {
        byte[] output = new byte[33];
        return Text(CalculateWideCharTextMd5(text, output), output);
    }

    private static byte[] Utf8(string text)
    {
        return Encoding.UTF8.GetBytes(text + "\0");
    }

    private static string Text(uint result, byte[] output)
    {
        if (result != 0)
        {
            throw new Win32Exception((int)result);
        }
        return Encoding.UTF8.GetString(output, 0, Array.IndexOf(output, (byte)0));
    }
}

public static class Program
{
    public static void Main()
    {
        string encrypted = Cifra.Encrypt("meet me at noon", "a key of up to 56 bytes");
        Console.WriteLine(encrypted);
        Console.WriteLine(Cifra.Decrypt(encrypted, "a key of up to 56 bytes"));
        Console.WriteLine(Cifra.Md5OfUtf8("abc"));
        Console.WriteLine(Cifra.Md5("abc"));
    }
}
